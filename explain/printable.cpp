#include "explain/printable.h"

#include <array>
#include <cstdio>

namespace {

unsigned char byte_at(std::string_view text, size_t position) {
  return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

bool is_continuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// How long a character its first byte announces; 0 for a byte that begins none.
size_t announced_length(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// The second byte tells overlong forms, surrogates, what is above U+10FFFF, and the controls
// U+0080 to U+009F.
bool is_good_second(unsigned char first, unsigned char second) {
  switch (first) {
    case 0xC2:
      return second >= 0xA0;
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second < 0xA0;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second < 0x90;
    default:
      return true;
  }
}

// The length of the printable character at the start of `text`; 0 where there is none.
size_t printable_length(std::string_view text) {
  const unsigned char first = byte_at(text, 0);
  const size_t length = announced_length(first);
  if (length == 1) return first >= 0x20 && first != 0x7F ? 1 : 0;
  if (length == 0 || !is_good_second(first, byte_at(text, 1))) return 0;
  for (size_t i = 1; i < length; ++i) {
    if (!is_continuation(byte_at(text, i))) return 0;
  }
  return length;
}

std::string escaped(char byte) {
  std::array<char, 5> code{};
  snprintf(code.data(), code.size(), "\\x%02X",
           static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return code.data();
}

std::string printable_but(std::string_view text, std::string_view allowed) {
  std::string result;
  while (!text.empty()) {
    size_t length = printable_length(text);
    if (length == 0 && allowed.find(text[0]) != std::string_view::npos) length = 1;
    if (length > 0) {
      result += text.substr(0, length);
    } else {
      result += escaped(text[0]);
      length = 1;
    }
    text.remove_prefix(length);
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  return printable_but(text, "");
}

std::string printable_lines(std::string_view text) {
  return printable_but(text, "\n\t");
}
