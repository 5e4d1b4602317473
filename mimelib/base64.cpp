#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "mimelib/decode.h"
#include "mimelib/view.h"
#include "support/base/base64_values.h"
#include "support/base/growing_bytes.h"

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

// Reads the next four characters of the alphabet or "="; false if the text ends before.
bool read_group(std::string_view text, size_t& position, Group& group) {
  size_t count = 0;
  while (count < kGroup && position < text.size()) {
    const uint8_t value = kValues[static_cast<unsigned char>(text[position++])];
    if (value != kSkipped) group[count++] = value;
  }
  return count == kGroup;
}

// How many bytes a group gives; 0 if it has a "=" anywhere but at its end.
size_t bytes_of(const Group& group) {
  if (group[0] == kFill || group[1] == kFill) return 0;
  if (group[2] == kFill) return group[3] == kFill ? 1 : 0;
  return group[3] == kFill ? 2 : 3;
}

// Writes the three bytes of a group, even if fewer of them count.
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
char* decode_groups(std::string_view text, size_t& position, char* out) {
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

bool is_skipped(std::string_view text, size_t position) {
  return position < text.size() && kValues[static_cast<unsigned char>(text[position])] == kSkipped;
}

// Returns the end of what it wrote.
char* decode_base64(std::string_view text, char* out) {
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
