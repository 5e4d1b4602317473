#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

/// Encodes `text` (UTF-8, may hold NULs) for a header. Returns it unchanged if no byte needs
/// encoding, otherwise as one encoded word (RFC 2047, "Q") of any length. A leading blank stays
/// outside of the encoded word. Lines are never folded.
std::string header_encode(std::string_view text);

/// Streams `header_encode` of the concatenated pieces to `out`, without holding the result: the
/// pieces may be large.
void write_header_encoded(FILE* out, std::initializer_list<std::string_view> pieces);

/// Whether `byte` has to be encoded in a header. Kept: stricter than RFC 2047 demands.
bool needs_q_encoding(char byte);

/// The "Q" encoding of `text` (RFC 2047, 4.2), without the "=?utf-8?Q?" and "?=" around it.
std::string q_encode(std::string_view text);

/// A file's name as the value of the parameter `filename` of Content-Disposition (RFC 2183, 2.3),
/// in quotes. A name (any bytes) beyond ASCII, or like an encoded word, is an encoded word there,
/// which older mail programs know, and if it is UTF-8 the parameter `filename*` follows (RFC 2231,
/// 4), on a line of its own.
std::string file_name_parameter(std::string_view name);
