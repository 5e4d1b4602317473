#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "mimelib/decode.h"
#include "mimelib/view.h"
#include "support/base/base64_values.h"
#include "support/base/growing_bytes.h"

#if defined __x86_64__ && !defined WITHOUT_SSE
#include <cpuid.h>
#include <tmmintrin.h>
#endif

namespace {

constexpr uint8_t kFill = 64;
constexpr uint8_t kSkipped = 65;

// The value of each byte.
constexpr std::array<uint8_t, 256> make_values() {
  std::array<uint8_t, 256> values = base64_values(kSkipped);
  values['='] = kFill;
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

// How many bytes a group gives; 0 when it has a "=" anywhere but at its end.
size_t bytes_of(const Group& group) {
  if (group[0] == kFill || group[1] == kFill) return 0;
  if (group[2] == kFill) return group[3] == kFill ? 1 : 0;
  return group[3] == kFill ? 2 : 3;
}

// Writes the three bytes of a group, also when fewer of them count.
void write_group(const Group& group, char* out) {
  const unsigned bits = (group[0] & 63U) << 18 |  // aaaaaa__ ________ ________
                        (group[1] & 63U) << 12 |  // ______bb bbbb____ ________
                        (group[2] & 63U) << 6 |   // ________ ____cccc cc______
                        (group[3] & 63U);         // ________ ________ __dddddd
  out[0] = static_cast<char>(bits >> 16);
  out[1] = static_cast<char>(bits >> 8);
  out[2] = static_cast<char>(bits);
}

// Decodes groups of symbols from `position` on, up to a byte that is no symbol. Returns the end of
// what it wrote.
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

// Why a byte is no symbol: for each reason a bit, which the tables below have for the byte's high
// half and for its low half. The halves of a symbol have no bit in common.
enum NoSymbol : char {
  kPunctuation = 1 << 0,  // 0010____, but not 00101011 "+" or 00101111 "/"
  kAfterNine = 1 << 1,    // 00111010 and up: ":" to "?"
  kBeforeA = 1 << 2,      // 01_00000: "@" and "`"
  kAfterZ = 1 << 3,       // 01_11011 and up: "[" to "_" and "{" to DEL
  kNotPrinted = 1 << 4,   // 000_____ and 1_______: control characters and bytes above DEL
};

// The reasons that a low half can be one for.
constexpr char kLow0 = kNotPrinted | kPunctuation | kBeforeA;
constexpr char kLow1To9 = kNotPrinted | kPunctuation;
constexpr char kLowA = kNotPrinted | kPunctuation | kAfterNine;
constexpr char kLowBOrF = kNotPrinted | kAfterNine | kAfterZ;
constexpr char kLowCToE = kNotPrinted | kPunctuation | kAfterNine | kAfterZ;

// What is added to a symbol to give its value.
constexpr char kFromUpper = 0 - 'A';
constexpr char kFromLower = 26 - 'a';
constexpr char kFromDigit = 52 - '0';
constexpr char kFromPlus = 62 - '+';
constexpr char kFromSlash = 63 - '/';

// The processor looks bytes up in tables of sixteen entries.
using Table = std::array<char, 16>;

alignas(__m128i) constexpr Table kReasonsByLowHalf = {
    kLow0,                         // ____0000
    kLow1To9, kLow1To9, kLow1To9,  // ____0001 to ____0011
    kLow1To9, kLow1To9, kLow1To9,  // ____0100 to ____0110
    kLow1To9, kLow1To9, kLow1To9,  // ____0111 to ____1001
    kLowA,                         // ____1010
    kLowBOrF,                      // ____1011, of "+"
    kLowCToE, kLowCToE, kLowCToE,  // ____1100 to ____1110
    kLowBOrF,                      // ____1111, of "/"
};

alignas(__m128i) constexpr Table kReasonsByHighHalf = {
    kNotPrinted,  kNotPrinted,                            // 000_____
    kPunctuation,                                         // 0010____, of "+" and "/"
    kAfterNine,                                           // 0011____, of "0" to "9"
    kBeforeA,     kAfterZ,                                // 010_____, of "A" to "Z"
    kBeforeA,     kAfterZ,                                // 011_____, of "a" to "z"
    kNotPrinted,  kNotPrinted, kNotPrinted, kNotPrinted,  // 10______
    kNotPrinted,  kNotPrinted, kNotPrinted, kNotPrinted,  // 11______
};

// By the high half; "/" has that of "+", and is looked up one entry before it.
alignas(__m128i) constexpr Table kStepsByHighHalf = {
    0,                       // 0000____
    kFromSlash,              // 0010____, "/"
    kFromPlus,               // 0010____, "+"
    kFromDigit,              // 0011____
    kFromUpper, kFromUpper,  // 010_____
    kFromLower, kFromLower,  // 011_____
};

// Which byte of the decoded groups is written where; the first byte of a group is its highest.
constexpr char kZero = -1;  // none: a byte that is 0
alignas(__m128i) constexpr Table kByteOrder = {
    2,     1,     0,             // the first group
    6,     5,     4,             // the second
    10,    9,     8,             // the third
    14,    13,    12,            // the fourth
    kZero, kZero, kZero, kZero,  // after them
};

__m128i load(const Table& table) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(table.data()));
}

// Multipliers for the parts of a group, whose first value is in the lowest byte of 32 bits. What
// they give is added in pairs.
constexpr int kPairs = 0x01'40'01'40;  // 00dddddd 00cccccc 00bbbbbb 00aaaaaa give
                                       // 0000cccc ccdddddd 0000aaaa aabbbbbb, which give
constexpr int kGroups = 0x0001'1000;   // 00000000 aaaaaabb bbbbcccc ccdddddd

// The decoded groups of sixteen values, each in 32 bits.
[[gnu::target("ssse3")]] __m128i join_values(__m128i values) {
  const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(kPairs));
  return _mm_madd_epi16(pairs, _mm_set1_epi32(kGroups));
}

// Writes the twelve bytes of sixteen symbols, and four bytes more after them. Returns a bit for
// each byte that is no symbol, the first byte's the lowest.
[[gnu::target("ssse3")]] unsigned decode_block(const char* in, char* out) {
  constexpr char kHalf = 0x0F;  // 00001111
  const __m128i symbols = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  const __m128i high = _mm_and_si128(_mm_srli_epi32(symbols, 4), _mm_set1_epi8(kHalf));
  const __m128i low = _mm_and_si128(symbols, _mm_set1_epi8(kHalf));
  const __m128i slashes = _mm_cmpeq_epi8(symbols, _mm_set1_epi8('/'));  // -1 for each
  const __m128i steps = _mm_shuffle_epi8(load(kStepsByHighHalf), _mm_add_epi8(high, slashes));
  const __m128i groups = join_values(_mm_add_epi8(symbols, steps));
  const __m128i bytes = _mm_shuffle_epi8(groups, load(kByteOrder));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
  const __m128i reasons = _mm_and_si128(_mm_shuffle_epi8(load(kReasonsByLowHalf), low),
                                        _mm_shuffle_epi8(load(kReasonsByHighHalf), high));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(reasons, _mm_setzero_si128())));
}

// Like `decode_plain_groups`, but goes on over line ends. Leaves the last groups of the text to it:
// after them `out` has no room for the bytes that a block writes in addition.
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
  GrowingBytes decoded(room);
  const char* const end = decode_base64(view_of(in), decoded.data());
  const auto length = static_cast<size_t>(end - decoded.data());
  out = DwString::Adopt(decoded.Release(), length);
  return 0;
}
