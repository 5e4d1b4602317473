#include "mime/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <endian.h>

#include "support/base/lanes.h"

#if defined __SSE2__ && !defined WITHOUT_SSE
#include <emmintrin.h>
#endif

namespace {

// The bytes of a sequence, by their highest bits (RFC 3629, 3).
constexpr uint8_t kTail = 0b1000'0000;        // 10______, after the first
constexpr uint8_t kTwoBytes = 0b1100'0000;    // 110_____, the first of two
constexpr uint8_t kThreeBytes = 0b1110'0000;  // 1110____, the first of three
constexpr uint8_t kFourBytes = 0b1111'0000;   // 11110___, the first of four
constexpr uint8_t kLastTail = 0b1011'1111;    // 10111111

// First bytes that bound the second byte more closely, and the bounds (RFC 3629, 4).
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

using SignedLanes [[gnu::vector_size(16)]] = int8_t;

Lanes larger(Lanes a, Lanes b) {
  return a > b ? a : b;
}

constexpr uint64_t kHighBits = 0x8080808080808080;  // 1_______ of each byte

// Whether a byte has its highest bit set.
bool is_any(Lanes lanes) {
#if defined __SSE2__ && !defined WITHOUT_SSE
  return _mm_movemask_epi8(reinterpret_cast<__m128i>(lanes)) != 0;
#else
  uint64_t halves[2];
  memcpy(halves, &lanes, sizeof halves);
  return ((halves[0] | halves[1]) & kHighBits) != 0;
#endif
}

Lanes are(Lanes lanes, uint8_t byte) {
  return reinterpret_cast<Lanes>(lanes == byte);
}

Lanes are_from(Lanes lanes, uint8_t low) {
  return reinterpret_cast<Lanes>(lanes >= low);
}

Lanes are_tails(Lanes lanes) {
  // As signed numbers, 10______ are the lowest.
  constexpr auto kAboveTails = static_cast<int8_t>(kTwoBytes);
  return reinterpret_cast<Lanes>(reinterpret_cast<SignedLanes>(lanes) < kAboveTails);
}

// First bytes that only forms longer than needed begin with.
Lanes are_too_long_pairs(Lanes lanes) {
  constexpr uint8_t kMask = 0b1111'1110;
  constexpr uint8_t kTooLong = 0b1100'0000;  // 1100000_, for 00000000 0_______
  return are(lanes & kMask, kTooLong);
}

// Errors of 16 bytes at `at`, where no sequence has more than two bytes: 0xFF for each wrong byte.
// Reads the byte before them too.
Lanes errors_in_pairs(const char* at) {
  const Lanes lanes = load_lanes(at);
  const Lanes must_be_tails = are_from(load_lanes(at - 1), kTwoBytes);
  return (are_tails(lanes) ^ must_be_tails) | are_too_long_pairs(lanes);
}

// Second bytes that are out of the bounds which the first byte sets for them.
Lanes are_wrong_seconds(Lanes firsts, Lanes lanes) {
  return (are(firsts, kFirstOfLongTriple) & ~are_from(lanes, kTripleFrom)) |
         (are(firsts, kFirstOfSurrogate) & are_from(lanes, kSurrogateFrom)) |
         (are(firsts, kFirstOfLongQuad) & ~are_from(lanes, kQuadFrom)) |
         (are(firsts, kFirstOfLast) & are_from(lanes, kBeyondFrom));
}

// Errors of any 16 bytes at `at`: 0xFF for each wrong byte. Reads the three bytes before them too.
Lanes errors(const char* at) {
  const Lanes lanes = load_lanes(at);
  const Lanes before = load_lanes(at - 1);
  const Lanes must_be_tails = are_from(before, kTwoBytes) |
                              are_from(load_lanes(at - 2), kThreeBytes) |
                              are_from(load_lanes(at - 3), kFourBytes);
  return (are_tails(lanes) ^ must_be_tails) | are_too_long_pairs(lanes) |
         are_from(lanes, kNoFirstFrom) | are_wrong_seconds(before, lanes);
}

constexpr size_t kChunk = 4 * sizeof(Lanes);

template <Lanes (&errors_at)(const char*)>
bool has_errors(const char* at) {
  return is_any(errors_at(at) | errors_at(at + 16) | errors_at(at + 32) | errors_at(at + 48));
}

// How many bytes a sequence has after its first.
constexpr size_t kLongestTail = 3;

// Whether the chunk at `at` is well-formed together with the `kLongestTail` bytes before it. The
// last sequence of the chunk may be cut by its end.
bool is_well_formed_chunk(const char* at) {
  const Lanes largest =
      larger(larger(load_lanes(at - kLongestTail), load_lanes(at)),
             larger(load_lanes(at + 16), larger(load_lanes(at + 32), load_lanes(at + 48))));
  if (!is_any(largest)) return true;
  return is_any(are_from(largest, kThreeBytes)) ? !has_errors<errors>(at)
                                                : !has_errors<errors_in_pairs>(at);
}

// How many bytes at the end of `text` begin a sequence that is cut by the end; the rest of `text`
// is well-formed.
size_t unfinished(std::string_view text) {
  for (size_t back = 1; back <= std::min(kLongestTail, text.size()); ++back) {
    const unsigned byte = byte_at(text, text.size() - back);
    if (!is_tail(byte)) return announced_length(byte) > back ? back : 0;
  }
  return 0;
}

// Skips well-formed chunks from `length` on. Both `length` and the result are ends of sequences.
size_t skip_chunks(std::string_view text, size_t length) {
  if (length < kLongestTail) return length;
  size_t end = length;
  while (text.size() - end >= kChunk && is_well_formed_chunk(text.data() + end)) end += kChunk;
  return end - unfinished(text.substr(length, end - length));
}

}  // namespace

size_t ascii_length(std::string_view text) {
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
    length = skip_chunks(text, length);
    // A chunk that is not well-formed ends the text within the next bytes.
    const std::string_view looked_at = text.substr(0, length + kChunk + kLongestTail);
    while (length < looked_at.size()) {
      const std::string_view rest = text.substr(length);
      const size_t more = byte_at(rest, 0) < kTail ? 1 : sequence_length(rest);
      if (more == 0) return length;
      length += more;
    }
  }
  return length;
}
