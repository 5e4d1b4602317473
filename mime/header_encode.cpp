#include "mime/header_encode.h"

#include <algorithm>

namespace {

void append_q_encoding(std::string& encoded, std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  encoded.reserve(encoded.size() + 3 * text.size() + 2);
  for (const char c : text) {
    if (c == ' ') {
      encoded += '_';
    } else if (!needs_q_encoding(c)) {
      encoded += c;
    } else {
      const auto code = static_cast<unsigned char>(c);
      encoded += '=';
      encoded += kDigits[code >> 4];
      encoded += kDigits[code & 0xF];
    }
  }
}

}  // namespace

bool needs_q_encoding(char byte) {
  constexpr std::string_view kSpecial = "!\"()*+-/=?_";
  const auto code = static_cast<signed char>(byte);
  return code < 0x20 || kSpecial.find(byte) != std::string_view::npos;
}

std::string q_encode(std::string_view text) {
  std::string encoded;
  append_q_encoding(encoded, text);
  return encoded;
}

std::string header_encode(std::string_view text) {
  if (std::none_of(text.begin(), text.end(), needs_q_encoding)) return std::string(text);
  // Kept: only a blank at the very start stays outside the encoded word, never a plain word.
  const std::string_view lead = text.substr(0, text[0] == ' ' ? 1 : 0);
  std::string header(lead);
  header += "=?utf-8?Q?";
  append_q_encoding(header, text.substr(lead.size()));
  header += "?=";
  return header;
}
