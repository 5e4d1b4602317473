#pragma once

#include <cstddef>

struct st_mysql;

/// Routines on NUL-terminated byte strings.

/// `text`, or null, escaped for a single-quoted SQL literal on `connection`, in a new buffer that
/// the caller frees with `free`; null for a null text. Allocates as `xmalloc` does.
char* sql_escape(st_mysql* connection, const char* text);

/// Replaces every `find` in `source` by `replacement`. The result goes to `destination`, which must
/// have room, or replaces `source` if `destination` is null. Returns the buffer that was written.
char* str_replace_char(char* source, char* destination, char find, char replacement);

/// Copies `source` to `destination` with every occurrence of `find` replaced by `replacement`, at
/// most `size` bytes with the NUL; the two may be the same.
///
/// The text before an occurrence, and a replacement, is copied whole or not at all. After the first
/// one that does not fit, the rest of the source follows unreplaced if it fits. If `find` is null
/// or empty, up to `size` bytes are copied unchanged, and a source of `size` bytes or more is not
/// terminated. Returns `destination`; null if that is null; `source`, after a message on standard
/// error, if memory runs out.
const char* strn_replace(const char* source, char* destination, const char* find,
                         const char* replacement, size_t size);

/// Overwrites the white space at the end of `text` with NULs and returns a pointer to its first
/// character that is not white space, inside the same buffer.
char* str_trim(char* text);

/// Lower-cases `text` in place; does nothing for null.
void str_tolower(char* text);

/// The first word after the first occurrence of `key` in `text`, words being separated by white
/// space: at most 4095 bytes of it, in a process-wide buffer that the next call overwrites; empty
/// if the text is null or the key is not in it. The text may be an earlier result.
const char* get_word_after(const char* text, const char* key);

/// What follows the first occurrence of `key` in `text` up to the next newline or the end: at most
/// 4095 bytes of it, in another process-wide buffer that the next call overwrites; empty if the
/// text is null or the key is not in it. The text may be an earlier result.
const char* get_line_after(const char* text, const char* key);

/// Ends the process with status 1 if `condition` is not 0 and `value` is null or empty; the message
/// calls the parameter `name`.
void check_param(int condition, const char* value, const char* name);

/// Ends the process with status 1 if the two counts differ.
void check_all_processed(int processed, int given);

/// `size` bytes that the caller frees with `free`; on failure the process ends with status 1 and
/// "alloc(%d)".
void* xmalloc(size_t size);

/// `memory` (from `xmalloc`, or null) resized to `size` bytes; on failure the process ends with
/// status 1 and "alloc(%d)".
void* xrealloc(void* memory, size_t size);

/// A number from 0 to `n` - 1. Not for secrets. Kept: every call seeds the generator with the time
/// in seconds, so calls within one second return the same.
int random_below(int n);
