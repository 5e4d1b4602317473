#pragma once

#include <string>

/// Internationalised domain names (RFC 3490). Every routine takes one NUL-terminated text in UTF-8,
/// which must not be null. Without memory the process ends with status 1 and "Allocation failed".
///
/// The first conversion that needs it loads the shared library of libidn (Debian package
/// `libidn12`). If it cannot be loaded, the process ends with status 1 and "Unable to load libidn:
/// %s", the loader's message. The conversions to ASCII do not need it for a text that is ASCII
/// already and has no empty label and none above 63 bytes.

/// The libidn code of the last conversion that failed; 0 until one fails. Never reset.
extern int idn_last_error;

/// The ASCII form of `text` (ToASCII on every label), in a new string that the caller frees with
/// `free`. Null if it has none; `idn_last_error` says why.
char* idn_toascii(const char* text);

/// `text` with its ASCII labels in Unicode, in a new string that the caller frees with `free`.
/// Labels that cannot be converted stay as they are, and `idn_last_error` says why. Null only if
/// libidn returns nothing.
char* idn_toutf8(const char* text);

/// Like `idn_toascii`, but ends the process with status 1 instead of returning null.
char* idn_toascii_safe(const char* text);

/// Like `idn_toutf8`, but ends the process with status 1 instead of returning null.
char* idn_toutf8_safe(const char* text);

/// `idn_toascii_safe` as a string.
std::string idn_toascii_string(const char* text);

/// `idn_toutf8_safe` as a string.
std::string idn_toutf8_string(const char* text);

/// An e-mail address whose domain, all after its first "@", is in ASCII form, in a new string that
/// the caller frees with `free`; null for an address without "@". Kept: a domain without an ASCII
/// form becomes "(null)".
char* idn_email_toascii(const char* address);

/// Like `idn_email_toascii`, but an address without "@" ends the process with status 1. Kept: the
/// message gives the error of the last failed conversion, "Success" if none has failed.
char* idn_email_toascii_safe(const char* address);

/// A URL ([ftp://|http://|https://][user@]host[:port][/path]) with its host in ASCII form, in a
/// process-wide buffer that the next call overwrites, cut at 4095 bytes. Null, after a warning, if
/// it has no host or the host has no ASCII form. The URL may be an earlier result.
const char* idn_url_toascii(const char* url);

/// The text of a libidn return code, which is static; "Unknown error" for an unknown code.
const char* idn_strerror(int code);
