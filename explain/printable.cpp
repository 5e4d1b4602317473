#include "explain/printable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "mime/utf8.h"

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Characters that control a terminal, change the direction of a line, or are invisible, so that
// different texts look alike.
constexpr Range kUnprintable[] = {
    {0x0000, 0x001F},    // C0 controls
    {0x007F, 0x009F},    // delete, C1 controls
    {0x00AD, 0x00AD},    // soft hyphen
    {0x034F, 0x034F},    // combining grapheme joiner
    {0x0600, 0x0605},    // Arabic number signs
    {0x061C, 0x061C},    // Arabic letter mark
    {0x06DD, 0x06DD},    // Arabic end of ayah
    {0x070F, 0x070F},    // Syriac abbreviation mark
    {0x08E2, 0x08E2},    // Arabic disputed end of ayah
    {0x115F, 0x1160},    // Hangul fillers
    {0x17B4, 0x17B5},    // Khmer inherent vowels
    {0x180B, 0x180F},    // Mongolian selectors and vowel separator
    {0x200B, 0x200F},    // zero width characters, direction marks
    {0x2028, 0x202E},    // line and paragraph separators, direction controls
    {0x2060, 0x206F},    // invisible operators, direction isolates, deprecated controls
    {0x3164, 0x3164},    // Hangul filler
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFB},    // interlinear annotation
    {0x110BD, 0x110BD},  // Kaithi number sign
    {0x1BCA0, 0x1BCA3},  // shorthand format controls
    {0x1D173, 0x1D17A},  // musical format controls
    {0xE0000, 0xE0FFF},  // tags, more variation selectors
};

bool is_printable(char32_t character) {
  return std::none_of(std::begin(kUnprintable), std::end(kUnprintable), [character](Range range) {
    return character >= range.first && character <= range.last;
  });
}

// The length in bytes of the well-formed UTF-8 character that begins with `first`.
size_t length_of(char first) {
  const auto byte = static_cast<uint8_t>(first);
  if (byte < 0x80) return 1;
  return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

char32_t decoded(std::string_view character) {
  constexpr unsigned kFirstBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t code = static_cast<uint8_t>(character[0]) & kFirstBits[character.size()];
  for (const char byte : character.substr(1))
    code = code << 6 | (static_cast<uint8_t>(byte) & 0x3F);
  return code;
}

void append_escaped(std::string_view bytes, std::string& result) {
  for (const char byte : bytes) {
    std::array<char, 5> code{};
    snprintf(code.data(), code.size(), "\\x%02X", static_cast<unsigned char>(byte));
    result += code.data();
  }
}

void append_printable(std::string_view utf8, std::string_view allowed, std::string& result) {
  while (!utf8.empty()) {
    const std::string_view character = utf8.substr(0, length_of(utf8[0]));
    const bool is_allowed = allowed.find(character) != std::string_view::npos;
    if (character == "\\") {
      result += "\\\\";
    } else if (is_allowed || is_printable(decoded(character))) {
      result += character;
    } else {
      append_escaped(character, result);
    }
    utf8.remove_prefix(character.size());
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
