#pragma once

#include <cstddef>
#include <string_view>

inline bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

/// Whether nothing in `text` can be taken for the end of a header field: each LF is followed by a
/// blank.
inline bool stays_in_its_field(std::string_view text) {
  for (size_t i = text.find('\n'); i != std::string_view::npos; i = text.find('\n', i + 1)) {
    if (i + 1 == text.size() || !is_blank(text[i + 1])) return false;
  }
  return true;
}

/// Whether the two bytes before `position` can end an encoded word.
inline bool word_ends_before(std::string_view value, size_t position) {
  return position >= 2 && value.substr(position - 2, 2) == "?=";
}

/// Whether blanks after the end of an encoded word end `value`: the decoder throws for it.
inline bool ends_in_word_and_blanks(std::string_view value) {
  size_t end = value.size();
  while (end > 0 && is_blank(value[end - 1])) --end;
  return end < value.size() && word_ends_before(value, end);
}
