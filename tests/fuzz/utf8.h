#pragma once

#include <cstdint>
#include <string_view>

/// The largest code that UTF-8 allows today (RFC 3629), and the largest that iconv writes: some
/// charsets have codes beyond that, which become up to six bytes (RFC 2279).
constexpr uint32_t kLargestToday = 0x10FFFF;
constexpr uint32_t kLargestOfIconv = 0x7FFFFFFF;

/// Whether `text` is UTF-8 in shortest form, without surrogates and without codes above `largest`.
inline bool is_utf8(std::string_view text, uint32_t largest) {
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    size_t length = 1;
    if (first >= 0x80) {
      length = 0;
      while (length < 8 && (first & (0x80U >> length)) != 0) ++length;
      if (length < 2 || length > 6 || length > text.size()) return false;
    }
    uint32_t code = length == 1 ? first : first & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
      const auto next = static_cast<unsigned char>(text[i]);
      if ((next & 0xC0) != 0x80) return false;
      code = code << 6 | (next & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (surrogate || code > largest || code < kSmallest[length]) return false;
    text.remove_prefix(length);
  }
  return true;
}
