#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// `c` in lower case, if it is one of A-Z.
inline char lower_case(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// `text` with A-Z in lower case; other bytes are unchanged.
inline std::string lower_case(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = lower_case(c);
  return lower;
}

/// Whether `text` is `lower` in any mixture of upper and lower case. `lower`: in lower case.
inline bool is_word(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                    [](char x, char y) { return lower_case(x) == y; });
}
