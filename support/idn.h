#ifndef KEM_IDN_H
#define KEM_IDN_H

#include <string>

/// Internationalised domain names (RFC 3490). Every routine takes one NUL-terminated text in UTF-8,
/// which must not be null. Without memory the process ends with status 1 and "Allocation failed".
///
/// The conversions load the shared library of libidn (Debian package `libidn12`) when the first of
/// them is called; `idn_strerror` does without. Where it cannot be loaded, the process ends with
/// status 1 and "Unable to load libidn: %s", the loader's message. A conversion that needs nothing
/// converted needs the library too; an address without "@" and a URL without a host do not.

/// The libidn code of the last conversion that failed; 0 until one fails. Never reset.
extern int idn_last_error;

/// `text` in its ASCII form (ToASCII on every label), in a new string that the caller frees with
/// `free`. Null when it has none; `idn_last_error` says why.
char* idn_toascii(const char* text);

/// `text` with its ASCII labels in Unicode, in a new string that the caller frees with `free`.
/// Labels that cannot be converted stay as they are, and `idn_last_error` says why; null only where
/// libidn gives nothing at all.
char* idn_toutf8(const char* text);

/// As the two above, but a null result ends the process with status 1.
char* idn_toascii_safe(const char* text);
char* idn_toutf8_safe(const char* text);

/// As the two above, as strings.
std::string idn_toascii_string(const char* text);
std::string idn_toutf8_string(const char* text);

/// An e-mail address with what follows its first "@" in ASCII form, in a new string that the caller
/// frees with `free`; null for an address without "@". Kept: where the domain has no ASCII form,
/// "(null)" stands in its place.
char* idn_email_toascii(const char* address);

/// As `idn_email_toascii`, but an address without "@" ends the process with status 1. Kept: the
/// message names the last failed conversion, which may be none.
char* idn_email_toascii_safe(const char* address);

/// A URL ([ftp://|http://|https://][user@]host[:port][/path]) with its host in ASCII form, in a
/// process-wide buffer of 4096 bytes that the next call overwrites, cut at 4095. Null, after a
/// warning, when it has no host or the host has no ASCII form. The URL may be an earlier result.
const char* idn_url_toascii(const char* url);

/// The text of a libidn return code; static, "Unknown error" for a code that is not known.
const char* idn_strerror(int code);

#endif
