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

size_t announced_length(unsigned first) {
  if (first < 0xC0) return 1;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// The length of the sequence of more than one byte at the start of `text`, or 0 for none.
size_t sequence_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (!is_within(first, 0xC2, 0xF4)) return 0;
  const size_t length = announced_length(first);
  if (length > text.size() || !is_second(first, byte_at(text, 1))) return 0;
  if (length > 2 && !is_tail(byte_at(text, 2))) return 0;
  if (length > 3 && !is_tail(byte_at(text, 3))) return 0;
  return length;
}

constexpr uint64_t kHighBits = 0x8080808080808080;

using SignedLanes [[gnu::vector_size(16)]] = int8_t;

Lanes larger(Lanes a, Lanes b) {
  return a > b ? a : b;
}

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

Lanes are_tails(Lanes lanes) {
  return reinterpret_cast<Lanes>(reinterpret_cast<SignedLanes>(lanes) < int8_t{-0x40});
}

Lanes are(Lanes lanes, uint8_t byte) {
  return reinterpret_cast<Lanes>(lanes == byte);
}

Lanes are_from(Lanes lanes, uint8_t low) {
  return reinterpret_cast<Lanes>(lanes >= low);
}

// What is wrong with the bytes at `at`, where no sequence has more than two bytes.
Lanes errors_in_pairs(const char* at) {
  const Lanes lanes = load_lanes(at);
  return (are_tails(lanes) ^ are_from(load_lanes(at - 1), 0xC0)) | are(lanes & 0xFE, 0xC0);
}

// What is wrong with them whatever they are.
Lanes errors(const char* at) {
  const Lanes lanes = load_lanes(at);
  const Lanes before = load_lanes(at - 1);
  const Lanes must_be_tails = are_from(before, 0xC0) | are_from(load_lanes(at - 2), 0xE0) |
                              are_from(load_lanes(at - 3), 0xF0);
  const Lanes seconds =
      (are(before, 0xE0) & ~are_from(lanes, 0xA0)) | (are(before, 0xED) & are_from(lanes, 0xA0)) |
      (are(before, 0xF0) & ~are_from(lanes, 0x90)) | (are(before, 0xF4) & are_from(lanes, 0x90));
  return (are_tails(lanes) ^ must_be_tails) | are(lanes & 0xFE, 0xC0) | are_from(lanes, 0xF5) |
         seconds;
}

constexpr size_t kChunk = 4 * sizeof(Lanes);

template <Lanes (&errors_at)(const char*)>
bool has_errors(const char* at) {
  return is_any(errors_at(at) | errors_at(at + 16) | errors_at(at + 32) | errors_at(at + 48));
}
constexpr size_t kLongestTail = 3;

// Whether the chunk at `at` goes on well-formed behind the bytes before it, of which there are
// as many as a tail can have. A sequence at its end may go on behind it.
bool is_well_formed_chunk(const char* at) {
  const Lanes largest =
      larger(larger(load_lanes(at - kLongestTail), load_lanes(at)),
             larger(load_lanes(at + 16), larger(load_lanes(at + 32), load_lanes(at + 48))));
  if (!is_any(largest)) return true;
  return is_any(are_from(largest, 0xE0)) ? !has_errors<errors>(at)
                                         : !has_errors<errors_in_pairs>(at);
}

// How many bytes at the end of `text`, which is well-formed else, begin a sequence that goes on.
size_t unfinished(std::string_view text) {
  for (size_t back = 1; back <= std::min(kLongestTail, text.size()); ++back) {
    const unsigned byte = byte_at(text, text.size() - back);
    if (!is_tail(byte)) return announced_length(byte) > back ? back : 0;
  }
  return 0;
}

// Steps over whole chunks from `length` on, which is where a sequence ends, and returns where one
// ends again.
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
  while (length < text.size() && byte_at(text, length) < 0x80) ++length;
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
      const size_t more = byte_at(rest, 0) < 0x80 ? 1 : sequence_length(rest);
      if (more == 0) return length;
      length += more;
    }
  }
  return length;
}
