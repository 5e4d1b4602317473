#pragma once

#include <string>
#include <string_view>

#include "random.h"

/// A charset and words in it.
struct Charset {
  std::string_view name;
  std::string_view words[6];
};

/// utf-8, iso-8859-1, koi8-r, us-ascii.
const Charset& pick_charset(Random& random);

/// `text` in base64 without line breaks (RFC 2045, 6.8).
std::string encode_base64(std::string_view text);

/// `text` in base64, cut into lines of any length.
std::string encode_base64_lines(Random& random, std::string_view text);

/// `text`, whose lines end in "\n", in quoted-printable (RFC 2045, 6.7), with soft line breaks and
/// with blanks that a transport added at line ends.
std::string encode_quoted_printable(Random& random, std::string_view text);

/// `text`, of at most 45 bytes, in the old encoding of UUCP.
std::string encode_uu(std::string_view text);

/// One encoded word (RFC 2047) of `text`. `charset` may bring a language along (RFC 2231, 5).
std::string encode_word(Random& random, std::string_view charset, std::string_view text);
