#include "explain/printable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <utility>

#include "mime/utf8.h"

namespace {

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 0x20 || code == 0x7F;
}

// Whether `text` begins with one of the control characters U+0080 to U+009F.
bool begins_with_high_control(std::string_view text) {
  return text.size() >= 2 && text[0] == '\xC2' && static_cast<unsigned char>(text[1]) < 0xA0;
}

// Whether `text` begins with an invisible character that changes the direction of a line or ends
// it: U+200B to U+200F, U+2028 to U+202E, U+2060 to U+2069, U+FEFF. Each has three bytes.
bool begins_with_invisible(std::string_view text) {
  constexpr std::pair<std::string_view, std::string_view> kRanges[] = {
      {"\xE2\x80\x8B", "\xE2\x80\x8F"},
      {"\xE2\x80\xA8", "\xE2\x80\xAE"},
      {"\xE2\x81\xA0", "\xE2\x81\xA9"},
      {"\xEF\xBB\xBF", "\xEF\xBB\xBF"},
  };
  const std::string_view character = text.substr(0, 3);
  return std::any_of(std::begin(kRanges), std::end(kRanges), [character](const auto& range) {
    return character >= range.first && character <= range.second;
  });
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
      append_escaped(utf8.substr(i, 2), result);
      i += 1;
    } else if (begins_with_invisible(utf8.substr(i))) {
      append_escaped(utf8.substr(i, 3), result);
      i += 2;
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
