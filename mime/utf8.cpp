#include "mime/utf8.h"

#include <cstdint>
#include <cstring>
#include <endian.h>

namespace {

// The bytes of a sequence, by their highest bits (RFC 3629, 3).
constexpr uint8_t kTail = 0b1000'0000;        // 10______, after the first
constexpr uint8_t kTwoBytes = 0b1100'0000;    // 110_____, the first of two
constexpr uint8_t kThreeBytes = 0b1110'0000;  // 1110____, the first of three
constexpr uint8_t kFourBytes = 0b1111'0000;   // 11110___, the first of four
constexpr uint8_t kLastTail = 0b1011'1111;    // 10111111

// First bytes after which fewer second bytes are valid, and the bounds (RFC 3629, 4).
constexpr uint8_t kFirstOfLongTriple = 0b1110'0000;  // 11100000 100_____ fits into two bytes
constexpr uint8_t kTripleFrom = 0b1010'0000;         // 11100000 101_____ does not
constexpr uint8_t kFirstOfSurrogate = 0b1110'1101;   // 11101101 100_____ is below the surrogates
constexpr uint8_t kSurrogateFrom = 0b1010'0000;      // 11101101 101_____ is U+D800 to U+DFFF
constexpr uint8_t kFirstOfLongQuad = 0b1111'0000;    // 11110000 1000____ fits into three bytes
constexpr uint8_t kQuadFrom = 0b1001'0000;           // 11110000 1001____ and up do not
constexpr uint8_t kFirstOfLast = 0b1111'0100;        // 11110100 1000____ is up to U+10FFFF
constexpr uint8_t kBeyondFrom = 0b1001'0000;         // 11110100 1001____ and up are beyond

constexpr uint8_t kFirstFrom = 0b1100'0010;    // 1100000_ begins what fits into one byte
constexpr uint8_t kNoFirstFrom = 0b1111'0101;  // 11110101 and up begin what is beyond U+10FFFF

unsigned byte_at(std::string_view text, size_t position) {
  return static_cast<unsigned char>(text[position]);
}

bool is_within(unsigned byte, unsigned low, unsigned high) {
  return byte >= low && byte <= high;
}

bool is_tail(unsigned byte) {
  return is_within(byte, kTail, kLastTail);
}

// Whether `second` can follow the first byte of a sequence.
bool is_second(unsigned first, unsigned second) {
  switch (first) {
    case kFirstOfLongTriple:
      return is_within(second, kTripleFrom, kLastTail);
    case kFirstOfSurrogate:
      return is_within(second, kTail, kSurrogateFrom - 1);
    case kFirstOfLongQuad:
      return is_within(second, kQuadFrom, kLastTail);
    case kFirstOfLast:
      return is_within(second, kTail, kBeyondFrom - 1);
    default:
      return is_tail(second);
  }
}

size_t announced_length(unsigned first) {
  if (first < kTwoBytes) return 1;
  return first < kThreeBytes ? 2 : first < kFourBytes ? 3 : 4;
}

// The length of the sequence of more than one byte at the start of `text`, or 0 for none.
size_t sequence_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (!is_within(first, kFirstFrom, kNoFirstFrom - 1)) return 0;
  const size_t length = announced_length(first);
  if (length > text.size() || !is_second(first, byte_at(text, 1))) return 0;
  if (length > 2 && !is_tail(byte_at(text, 2))) return 0;
  if (length > 3 && !is_tail(byte_at(text, 3))) return 0;
  return length;
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
  while (length < text.size() && byte_at(text, length) < kTail) ++length;
  return length;
}

size_t utf8_length(std::string_view text) {
  size_t length = 0;
  while (length < text.size()) {
    const std::string_view rest = text.substr(length);
    const size_t more = byte_at(rest, 0) < kTail ? ascii_length(rest) : sequence_length(rest);
    if (more == 0) break;
    length += more;
  }
  return length;
}
