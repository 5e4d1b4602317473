#include "mime/utf8.h"

#include <cstdint>
#include <cstring>
#include <endian.h>

namespace {

unsigned byte_at(std::string_view text, size_t position) {
  return static_cast<unsigned char>(text[position]);
}

bool is_within(unsigned byte, unsigned low, unsigned high) {
  return byte >= low && byte <= high;
}

bool is_tail(unsigned byte) {
  return is_within(byte, 0x80, 0xBF);
}

// The second byte of a sequence is bounded further behind these first bytes.
bool is_second(unsigned first, unsigned second) {
  switch (first) {
    case 0xE0:
      return is_within(second, 0xA0, 0xBF);
    case 0xED:
      return is_within(second, 0x80, 0x9F);
    case 0xF0:
      return is_within(second, 0x90, 0xBF);
    case 0xF4:
      return is_within(second, 0x80, 0x8F);
    default:
      return is_tail(second);
  }
}

// The length of the sequence of more than one byte at the start of `text`, or 0 for none.
size_t sequence_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (!is_within(first, 0xC2, 0xF4)) return 0;
  const size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length > text.size() || !is_second(first, byte_at(text, 1))) return 0;
  if (length > 2 && !is_tail(byte_at(text, 2))) return 0;
  if (length > 3 && !is_tail(byte_at(text, 3))) return 0;
  return length;
}

}  // namespace

size_t ascii_length(std::string_view text) {
  constexpr uint64_t kHighBits = 0x8080808080808080;
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
