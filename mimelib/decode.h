#pragma once

#include "mimelib/string.h"

/// Replaces `out` by the decoded base64 text `in` (RFC 2045, 6.8). Bytes outside the alphabet are
/// skipped. Decoding ends with the first group of four characters that holds a "=". Such a group
/// gives one or two bytes if only its last one or two characters are "=", otherwise none; an
/// incomplete group gives none.
///
/// Returns 0. Kept: for a text of 1, 2 or 5 bytes returns -1, with as many NULs in `out`.
int DwDecodeBase64(const DwString& in, DwString& out);

/// Replaces `out` by the decoded quoted-printable text `in` (RFC 2045, 6.7), which ends at its
/// first NUL. Line ends become "\n"; unencoded white space before them and at the end is dropped.
///
/// Kept: plain bytes lose their highest bit. "=" and any two bytes decode to one byte, hexadecimal
/// digits or not. If only one byte follows "=" in a line, the "=" is dropped and the byte stays.
///
/// Returns 0, or -1 if a "=" was followed by neither two hexadecimal digits nor a line end.
int DwDecodeQuotedPrintable(const DwString& in, DwString& out);
