#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "mimelib/bytes.h"
#include "mimelib/decode.h"
#include "mimelib/view.h"

#if defined __x86_64__ && !defined WITHOUT_SSE
#include <cpuid.h>
#include <tmmintrin.h>
#endif

namespace {

constexpr uint8_t kFill = 64;
constexpr uint8_t kSkipped = 65;

// The value of each byte in base64; kFill for "=".
constexpr std::array<uint8_t, 256> make_values() {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
  std::array<uint8_t, 256> values{};
  for (uint8_t& value : values) value = kSkipped;
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
  }
  return values;
}
constexpr std::array<uint8_t, 256> kValues = make_values();

constexpr size_t kGroup = 4;
using Group = std::array<uint8_t, kGroup>;

// Reads the next four characters of the alphabet or "="; false when the text ends before.
bool read_group(std::string_view text, size_t& position, Group& group) {
  size_t count = 0;
  while (count < kGroup && position < text.size()) {
    const uint8_t value = kValues[static_cast<unsigned char>(text[position++])];
    if (value != kSkipped) group[count++] = value;
  }
  return count == kGroup;
}

// How many bytes a group stands for; 0 where "=" stands anywhere but at its end.
size_t bytes_of(const Group& group) {
  if (group[0] == kFill || group[1] == kFill) return 0;
  if (group[2] == kFill) return group[3] == kFill ? 1 : 0;
  return group[3] == kFill ? 2 : 3;
}

// The bytes that a group stands for; all three are written, whatever counts of them.
void write_group(const Group& group, char* out) {
  const unsigned bits =
      (group[0] & 63U) << 18 | (group[1] & 63U) << 12 | (group[2] & 63U) << 6 | (group[3] & 63U);
  out[0] = static_cast<char>(bits >> 16);
  out[1] = static_cast<char>(bits >> 8);
  out[2] = static_cast<char>(bits);
}

// Decodes the groups at `position` that stand together and hold nothing but symbols. Returns the
// end of what it wrote.
using GroupsDecoder = char*(std::string_view text, size_t& position, char* out);

char* decode_plain_groups(std::string_view text, size_t& position, char* out) {
  for (; text.size() - position >= kGroup; position += kGroup, out += 3) {
    Group group;
    for (size_t i = 0; i < kGroup; ++i) {
      group[i] = kValues[static_cast<unsigned char>(text[position + i])];
    }
    if ((group[0] | group[1] | group[2] | group[3]) >= kFill) break;
    write_group(group, out);
  }
  return out;
}

#if defined __x86_64__ && !defined WITHOUT_SSE

// Writes the twelve bytes that sixteen symbols stand for, and four more behind them. Returns a bit
// for each byte that is no symbol, the first byte's the lowest. What a byte stands for is found by
// its two halves, which is what the processor's instruction to look up in a table of sixteen is
// good for.
[[gnu::target("ssse3")]] unsigned decode_block(const char* in, char* out) {
  // Two bytes have a bit in common where the byte with these halves is no symbol.
  const __m128i low_halves = _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                           0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m128i high_halves = _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                            0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  // From the symbol to its value, by its high half; "/" has an entry of its own.
  const __m128i steps = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  const __m128i symbols = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  const __m128i high = _mm_and_si128(_mm_srli_epi32(symbols, 4), _mm_set1_epi8(0x0F));
  const __m128i low = _mm_and_si128(symbols, _mm_set1_epi8(0x0F));
  const __m128i slashes = _mm_cmpeq_epi8(symbols, _mm_set1_epi8('/'));
  const __m128i step = _mm_shuffle_epi8(steps, _mm_add_epi8(high, slashes));
  const __m128i pairs = _mm_maddubs_epi16(_mm_add_epi8(symbols, step), _mm_set1_epi32(0x01400140));
  const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(groups, order));
  const __m128i others =
      _mm_and_si128(_mm_shuffle_epi8(low_halves, low), _mm_shuffle_epi8(high_halves, high));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(others, _mm_setzero_si128())));
}

// As `decode_plain_groups`, and goes on over line ends. The last groups of the text are left to
// that one: behind them is no room for what a block writes besides.
[[gnu::target("ssse3")]] char* decode_blocks(std::string_view text, size_t& position, char* out) {
  constexpr size_t kBlock = 16;
  constexpr size_t kAhead = 24;
  while (text.size() - position >= kAhead) {
    const unsigned others = decode_block(text.data() + position, out);
    const size_t symbols = others == 0 ? kBlock : static_cast<size_t>(__builtin_ctz(others));
    position += symbols / kGroup * kGroup;
    out += symbols / kGroup * 3;
    if (others == 0) continue;
    if (text[position] != '\n') break;
    while (position < text.size() && text[position] == '\n') ++position;
  }
  return decode_plain_groups(text, position, out);
}

bool can_decode_blocks() {
  unsigned a = 0;
  unsigned b = 0;
  unsigned c = 0;
  unsigned d = 0;
  return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_SSSE3) != 0;
}

GroupsDecoder* fastest_decoder() {
  return can_decode_blocks() ? decode_blocks : decode_plain_groups;
}

#else

GroupsDecoder* fastest_decoder() {
  return decode_plain_groups;
}

#endif

bool is_skipped(std::string_view text, size_t position) {
  return position < text.size() && kValues[static_cast<unsigned char>(text[position])] == kSkipped;
}

// Returns the end of what it wrote.
char* decode_base64(std::string_view text, char* out) {
  GroupsDecoder* const decode_groups = fastest_decoder();
  size_t position = 0;
  Group group{};
  for (;;) {
    out = decode_groups(text, position, out);
    if (is_skipped(text, position)) {
      while (is_skipped(text, position)) ++position;
      continue;
    }
    if (!read_group(text, position, group)) return out;
    const size_t count = bytes_of(group);
    write_group(group, out);
    out += count;
    if (count < 3) return out;
  }
}

}  // namespace

int DwDecodeBase64(const DwString& in, DwString& out) {
  // The room that full groups need must not be more than the text's own length.
  const size_t room = (in.length() + kGroup - 1) / kGroup * 3;
  if (room > in.length()) {
    const std::string nuls(in.length(), '\0');
    out = DwString(nuls.data(), nuls.size());
    return -1;
  }
  Bytes decoded(room);
  const char* const end = decode_base64(view_of(in), decoded.data());
  const auto length = static_cast<size_t>(end - decoded.data());
  out = DwString::Adopt(decoded.Release(), length);
  return 0;
}
