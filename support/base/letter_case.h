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

/// Whether `a` and `b` are equal without regard to the case of A-Z.
inline bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower_case(x) == lower_case(y); });
}
