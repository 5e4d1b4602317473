#include "mime/utf8.h"

#include <cstdint>
#include <cstring>
#include <endian.h>

namespace {

unsigned byte_at(std::string_view text, size_t position) {
  return static_cast<unsigned char>(text[position]);
}

bool is_tail(unsigned byte) {
  return (byte & 0b1100'0000U) == 0b1000'0000U;
}

// The length of the sequence of more than one byte at the start of `text`, or 0 for none (RFC 3629,
// 4): the first two bytes tell what would fit into fewer, is a surrogate, or beyond U+10FFFF.
size_t sequence_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  const size_t length = first < 0b1110'0000 ? 2 : first < 0b1111'0000 ? 3 : 4;
  if (first < 0b1100'0010 || first > 0b1111'0100 || length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    if (!is_tail(byte_at(text, i))) return 0;
  }
  if (length == 2) return length;
  const unsigned start = first << 8 | byte_at(text, 1);
  const bool is_too_long = start < 0xE0A0 || (length == 4 && start < 0xF090);
  const bool is_surrogate = start >= 0xEDA0 && start <= 0xEDBF;
  return is_too_long || is_surrogate || start > 0xF48F ? 0 : length;
}

}  // namespace

size_t ascii_length(std::string_view text) {
  constexpr uint64_t kHighBits = 0x8080808080808080;  // 1_______ of each byte
  size_t length = 0;
  for (uint64_t word = 0; text.size() - length >= sizeof word; length += sizeof word) {
    memcpy(&word, text.data() + length, sizeof word);
    const uint64_t high = le64toh(word) & kHighBits;
    if (high != 0) return length + static_cast<size_t>(__builtin_ctzll(high)) / 8;
  }
  while (length < text.size() && byte_at(text, length) < 0x80) ++length;
  return length;
}

size_t utf8_length(std::string_view text) {
  size_t length = 0;
  while (length < text.size()) {
    const std::string_view rest = text.substr(length);
    const size_t more = byte_at(rest, 0) < 0x80 ? ascii_length(rest) : sequence_length(rest);
    if (more == 0) break;
    length += more;
  }
  return length;
}
