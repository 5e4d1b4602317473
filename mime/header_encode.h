#ifndef MIME_HEADER_ENCODE_H
#define MIME_HEADER_ENCODE_H

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

/// The form in which `text` (UTF-8, may hold NULs) stands in a header: unchanged where no byte
/// needs encoding, else one encoded word (RFC 2047, "Q") of any length, with a leading blank left
/// in front of it. Lines are never folded.
std::string header_encode(std::string_view text);

/// Writes `header_encode` of the pieces, which are one text, to `out`, without putting them
/// together first: they may be large.
void write_header_encoded(FILE* out, std::initializer_list<std::string_view> pieces);

/// Whether `byte` may not stand plainly in a header. Kept: stricter than RFC 2047 asks for.
bool needs_q_encoding(char byte);

/// The "Q" encoding of `text` without the frame of an encoded word.
std::string q_encode(std::string_view text);

#endif
