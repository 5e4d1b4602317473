#include "mime/header_encode.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr size_t kPiece = 4096;

}  // namespace

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
      encoded += '=';
      encoded += kDigits[code >> 4];
      encoded += kDigits[code & 0xF];
    }
  }
  return encoded;
}

std::string header_encode(std::string_view text) {
  std::ostringstream out;
  write_header_encoded(out, text);
  return out.str();
}

void write_header_encoded(std::ostream& out, std::string_view text) {
  if (std::none_of(text.begin(), text.end(), needs_q_encoding)) {
    out << text;
    return;
  }
  // Kept: only a blank at the very start stays outside the encoded word, never a plain word.
  if (text[0] == ' ') {
    out << ' ';
    text.remove_prefix(1);
  }
  out << "=?utf-8?Q?";
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPiece))) {
    out << q_encode(text.substr(0, kPiece));
  }
  out << "?=";
}
