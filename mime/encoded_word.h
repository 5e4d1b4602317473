#pragma once

#include <string>
#include <string_view>

/// Returns the replacement for one token of a header value, a run of bytes without blanks.
using TokenDecoder = std::string (*)(std::string_view token);

/// Decodes the encoded words (RFC 2047) of a header value (any bytes) to UTF-8 and leaves
/// everything else unchanged. Malformed words are left unchanged too, and reported on standard
/// error, one line each.
///
/// Throws `quern::ExError` as `rfc1522_decode_word` does, and `std::out_of_range` as
/// `decode_tokens` does.
std::string rfc1522_decode(std::string_view value);

/// Decodes like `rfc1522_decode`, but reads a folded field (RFC 5322, 2.2.3) as one line, and
/// adjacent encoded words of one charset as one text (RFC 2047, 6.2): a character may be split
/// between them. Throws `quern::ExError` as `rfc1522_decode_word` does.
std::string decode_unfolded(std::string_view field);

/// `value` with every token between blanks (space, TAB) replaced by `decode_one`. Blanks between
/// two encoded words are dropped (RFC 2047, 6.2), all others stay as they are. Kept: throws
/// `std::out_of_range` for a value that ends in "?=" and blanks.
std::string decode_tokens(std::string_view value, TokenDecoder decode_one);

/// Decodes `token` to UTF-8 if it is an encoded word (RFC 2047); returns any other token unchanged.
/// Bytes after the word stay and are reported; an encoding other than Q and B gives an empty text.
/// Throws `quern::ExError` if the charset is unknown or the text ends inside a multi-byte
/// character.
std::string rfc1522_decode_word(std::string_view token);
