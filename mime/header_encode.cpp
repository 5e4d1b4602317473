#include "mime/header_encode.h"

#include <algorithm>

bool needs_q_encoding(char byte) {
  constexpr std::string_view kSpecial = "!\"()*+-/=?_";
  const auto code = static_cast<signed char>(byte);
  return code < 0x20 || kSpecial.find(byte) != std::string_view::npos;
}

std::string q_encode(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(3 * text.size());
  for (const char c : text) {
    if (c == ' ') {
      encoded += '_';
    } else if (!needs_q_encoding(c)) {
      encoded += c;
    } else {
      const auto code = static_cast<unsigned char>(c);
      encoded += {'=', kDigits[code >> 4], kDigits[code & 0xF]};
    }
  }
  return encoded;
}

std::string header_encode(std::string_view text) {
  if (std::none_of(text.begin(), text.end(), needs_q_encoding)) return std::string(text);
  // Kept: only a blank at the very start stays outside the encoded word, never a plain word.
  const std::string_view lead = text.substr(0, text[0] == ' ' ? 1 : 0);
  const std::string_view rest = text.substr(lead.size());
  return std::string(lead) + "=?utf-8?Q?" + q_encode(rest) + "?=";
}
