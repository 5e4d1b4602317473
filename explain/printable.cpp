#include "explain/printable.h"

#include <array>
#include <cstdio>

#include "mime/utf8.h"

namespace {

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 0x20 || code == 0x7F;
}

// The controls U+0080 to U+009F.
bool begins_with_high_control(std::string_view text) {
  return text.size() >= 2 && text[0] == '\xC2' && static_cast<unsigned char>(text[1]) < 0xA0;
}

void append_escaped(std::string_view bytes, std::string& result) {
  for (const char byte : bytes) {
    std::array<char, 5> code{};
    snprintf(code.data(), code.size(), "\\x%02X", static_cast<unsigned char>(byte));
    result += code.data();
  }
}

void append_printable(std::string_view utf8, std::string_view allowed, std::string& result) {
  for (size_t i = 0; i < utf8.size(); ++i) {
    if (is_control(utf8[i]) && allowed.find(utf8[i]) == std::string_view::npos) {
      append_escaped(utf8.substr(i, 1), result);
    } else if (begins_with_high_control(utf8.substr(i))) {
      append_escaped(utf8.substr(i++, 2), result);
    } else {
      result += utf8[i];
    }
  }
}

std::string printable_but(std::string_view text, std::string_view allowed) {
  std::string result;
  while (!text.empty()) {
    const size_t length = utf8_length(text);
    append_printable(text.substr(0, length), allowed, result);
    text.remove_prefix(length);
    append_escaped(text.substr(0, 1), result);
    if (!text.empty()) text.remove_prefix(1);
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
