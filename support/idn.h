#ifndef SUPPORT_IDN_H
#define SUPPORT_IDN_H

#include <string>

/// The libidn code of the last conversion that failed; 0 until one fails. Never reset.
extern int idn_last_error;

/// `text` (NUL-terminated UTF-8) in its ASCII form (RFC 3490, ToASCII on every label), in a new
/// string that the caller frees with `free`. Null when it has none; `idn_last_error` says why.
/// Without memory the process ends with status 1 and "Allocation failed".
char* idn_toascii(const char* text);

/// As `idn_toascii`, but a text without an ASCII form ends the process with status 1.
char* idn_toascii_safe(const char* text);

/// As `idn_toascii_safe`, as a string.
std::string idn_toascii_string(const char* text);

/// The text of a libidn return code; static, "Unknown error" for a code that is not known.
const char* idn_strerror(int code);

#endif
