#ifndef MIMELIB_DECODE_H
#define MIMELIB_DECODE_H

#include "mimelib/string.h"

/// Replaces `out` by the bytes that the base64 text `in` stands for (RFC 2045, 6.8). Bytes outside
/// the alphabet are skipped. The data ends at the first "=" or group of fewer than four characters;
/// a last group counts when "=" fill it up exactly.
///
/// Kept: a text of 1, 2 or 5 bytes gives as many NULs.
///
/// Returns 0, or -1 where `out` holds those NULs.
int DwDecodeBase64(const DwString& in, DwString& out);

/// Replaces `out` by the bytes that the quoted-printable text `in` stands for (RFC 2045, 6.7). The
/// text ends at its first NUL. Lines end in "\n" afterwards; white space at their ends is dropped.
///
/// Kept: plain bytes lose their highest bit; "=" and two bytes is a byte even where they are no
/// hexadecimal digits, and "=" and one byte at the end of a line leaves that byte alone.
///
/// Returns 0, or -1 where a "=" was not followed by two hexadecimal digits or a line end.
int DwDecodeQuotedPrintable(const DwString& in, DwString& out);

#endif
