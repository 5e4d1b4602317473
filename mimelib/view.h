#pragma once

#include <algorithm>
#include <string_view>

#include "mimelib/string.h"

/// The bytes of `text`; valid until it is changed.
inline std::string_view view_of(const DwString& text) {
  return {text.data(), text.length()};
}

/// Whether `a` and `b` are equal without regard to the case of A-Z. Other bytes have to be the
/// same.
inline bool equal_ignoring_case(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : +c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [lower](char x, char y) { return lower(x) == lower(y); });
}
