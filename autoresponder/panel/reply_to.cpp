#include "autoresponder/panel/reply_to.h"

#include <algorithm>
#include <optional>
#include <string>

namespace {

constexpr auto npos = std::string_view::npos;

// Skips the comment, the quoted string or the literal that `text` begins with; false if it has no
// end.
bool skip_enclosed(std::string_view& text) {
  const char open = text[0];
  const char close = open == '(' ? ')' : open == '[' ? ']' : '"';
  size_t depth = 1;
  size_t i = 1;
  for (; i < text.size() && depth > 0; ++i) {
    if (text[i] == close) {
      --depth;
    } else if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '(' && open == '(') {
      ++depth;
    }
  }
  text.remove_prefix(std::min(i, text.size()));
  return depth == 0;
}

// The bytes up to a blank or a byte with a meaning of its own. Within an atom closing brackets have
// none.
void skip_atom(std::string_view& text) {
  constexpr std::string_view kEnds = " \t\r\n([\"<>;:@,.";
  size_t i = 0;
  do {
    i += text[i] == '\\' ? 2 : 1;
  } while (i < text.size() && kEnds.find(text[i]) == npos);
  text.remove_prefix(std::min(i, text.size()));
}

// What groups the addresses: colons, semicolons, commas and angle brackets. Nothing if a quote, a
// comment or a literal has no end, or a bracket no beginning.
std::optional<std::string> structure_of(std::string_view text) {
  constexpr std::string_view kSingle = "<>;:,@. \t\r\n";
  std::string structure;
  while (!text.empty()) {
    const char c = text[0];
    if (c == ')' || c == ']') return std::nullopt;
    if (c == '(' || c == '[' || c == '"') {
      if (!skip_enclosed(text)) return std::nullopt;
    } else if (kSingle.find(c) == npos) {
      skip_atom(text);
    } else {
      if (kSingle.find(c) < kSingle.find('@')) structure += c;
      text.remove_prefix(1);
    }
  }
  return structure;
}

}  // namespace

// From right to left, as qmail does: what stands before a group's colon, up to a comma, is its
// name, whatever it holds.
bool can_be_parsed(std::string_view addresses) {
  const auto structure = structure_of(addresses);
  if (!structure) return false;
  bool is_in_group = false;
  for (size_t end = structure->size(); end > 0; --end) {
    const char c = (*structure)[end - 1];
    if (c == ';' ? is_in_group : c == ':' && !is_in_group) return false;
    if (c == ';' || c == ':') is_in_group = c == ';';
    if (c != ':' && c != '>') continue;
    const size_t start = structure->rfind(c == ':' ? ',' : '<', end - 1);
    if (start == npos) return c == ':';
    end = start + 1;
  }
  return true;
}
