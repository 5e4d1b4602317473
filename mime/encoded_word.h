#ifndef MIME_ENCODED_WORD_H
#define MIME_ENCODED_WORD_H

#include <string>
#include <string_view>

/// Replaces one blank-free token of a header value.
using TokenDecoder = std::string (*)(std::string_view token);

/// A header value (any bytes) with its encoded words (RFC 2047) in UTF-8 and everything else as it
/// stands. Malformed words are kept and reported on standard error, one line each.
///
/// Throws `quern::ExError` for a word in an unknown charset, and `std::out_of_range` for a value
/// that ends in "?=" and blanks (kept).
std::string rfc1522_decode(std::string_view value);

/// `value` with every token between blanks (space, TAB) replaced by `decode_one`. Blanks between
/// two encoded words are dropped (RFC 2047, 6.2), all others stay as they are.
std::string decode_tokens(std::string_view value, TokenDecoder decode_one);

/// One token: an encoded word in UTF-8, anything else unchanged.
std::string rfc1522_decode_word(std::string_view token);

#endif
