#ifndef MIMELIB_DECODE_H
#define MIMELIB_DECODE_H

#include "mimelib/string.h"

/// Replaces `out` by the decoded base64 text `in` (RFC 2045, 6.8). Bytes outside the alphabet are
/// skipped. Decoding ends with the first group of four characters that holds a "=". Such a group
/// gives one or two bytes if only its last one or two characters are "=", otherwise none; an
/// incomplete group gives none.
///
/// Kept: a text of 1, 2 or 5 bytes gives as many NULs.
///
/// Returns 0, or -1 with these NULs.
int DwDecodeBase64(const DwString& in, DwString& out);

/// Replaces `out` by the decoded quoted-printable text `in` (RFC 2045, 6.7), which ends at its
/// first NUL. Line ends become "\n"; white space before them is dropped.
///
/// Kept: plain bytes lose their highest bit. "=" and any two bytes decode to one byte, hexadecimal
/// digits or not. Where only one byte follows "=" in a line, the "=" is dropped and the byte stays.
///
/// Returns 0, or -1 if a "=" was followed by neither two hexadecimal digits nor a line end.
int DwDecodeQuotedPrintable(const DwString& in, DwString& out);

#endif
