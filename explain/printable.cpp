#include "explain/printable.h"

#include <cstdint>
#include <unictype.h>
#include <unistr.h>

#include "explain/check/formatting.h"

namespace {

// Not those that steer a terminal, turn the direction of a line, or are not seen at all, so that a
// text with them looks like another one.
bool is_printable(ucs4_t character) {
  return uc_is_print(character) && !uc_is_property_line_separator(character) &&
         !uc_is_property_paragraph_separator(character) &&
         !uc_is_general_category(character, UC_CATEGORY_Cf) &&
         !uc_is_property_default_ignorable_code_point(character);
}

std::string printable_but(std::string_view text, std::string_view allowed) {
  std::string result;
  while (!text.empty()) {
    ucs4_t code = 0;
    const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
    const int length = u8_mbtoucr(&code, bytes, text.size());
    const std::string_view character = text.substr(0, length > 0 ? static_cast<size_t>(length) : 1);
    if (character == "\\") {
      result += "\\\\";
    } else if (length > 0 &&
               (allowed.find(character) != std::string_view::npos || is_printable(code))) {
      result += character;
    } else {
      for (const char byte : character)
        result += formatted("\\x{:02X}", static_cast<uint8_t>(byte));
    }
    text.remove_prefix(character.size());
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
