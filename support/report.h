#pragma once

#include <cstdarg>

/// The program's path as it was invoked, NUL-terminated; null until the program has set it.
/// Set once at start, before anything is reported; not owned.
extern const char* prog_name;

/// Writes a message to standard error and again to standard output, each time after the base name
/// of `prog_name` and ": ".
///
/// `status`: 0 for a warning, after which the call returns; with any other the process exits.
/// `flag`: ignored.
/// `format`: a printf format for a message of any length. A newline is added if it ends in none.
///
/// If `errno` is not 0 at the call, for whatever reason, "\nSystem error %d: %s" follows the
/// message, but only if both fit into a buffer of 4096 bytes.
void report_error(int status, int flag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Writes `text` (NUL-terminated) as `report_error` does, and exits if `status` is not 0.
void put_message(const char* text, int status);

/// A new NUL-terminated string formatted like printf; the caller frees it with `free`.
/// A failure to format ends the process with status 1 and "Cannot allocate memory: %s".
char* xasprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Like `xasprintf`, from an argument list, which the caller must not read again.
char* xvasprintf(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));
