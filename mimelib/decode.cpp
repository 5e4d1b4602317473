#include "mimelib/decode.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr auto npos = std::string_view::npos;

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

// Decodes the groups at `position` that stand together and hold nothing but symbols.
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

// Returns the end of what it wrote.
char* decode_base64(std::string_view text, char* out) {
  size_t position = 0;
  Group group{};
  for (;;) {
    out = decode_plain_groups(text, position, out);
    if (!read_group(text, position, group)) return out;
    const size_t count = bytes_of(group);
    write_group(group, out);
    out += count;
    if (count < 3) return out;
  }
}

char seven_bits(char c) {
  return static_cast<char>(c & 0x7F);
}

// Kept: a byte that is no digit counts with its own code.
int digit_value(char c, bool& valid) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  valid = false;
  return c;
}

// Copies the bytes in front of the next "=", which may have a highest bit to lose too.
char* copy_plain(std::string_view line, size_t& position, char* out) {
  while (position < line.size() && seven_bits(line[position]) != '=') {
    *out++ = seven_bits(line[position++]);
  }
  return out;
}

// One line without its line end. Sets `hard_end` to whether it does not end in a soft line break,
// and returns the end of what it wrote.
char* decode_line(std::string_view line, char* out, bool& hard_end, bool& valid) {
  hard_end = true;
  size_t i = 0;
  for (;;) {
    out = copy_plain(line, i, out);
    if (i == line.size()) return out;
    ++i;
    if (i == line.size()) {
      hard_end = false;
    } else if (i + 1 == line.size()) {
      valid = false;
    } else {
      const int high = digit_value(seven_bits(line[i]), valid);
      const int low = digit_value(seven_bits(line[i + 1]), valid);
      *out++ = static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
}

std::string_view without_white_space_at_end(std::string_view line) {
  const auto is_white_space = [](char c) {
    return c == '\n' || c == '\r' || c == ' ' || c == '\t';
  };
  while (!line.empty() && is_white_space(seven_bits(line.back()))) line.remove_suffix(1);
  return line;
}

}  // namespace

int DwDecodeBase64(const DwString& in, DwString& out) {
  // The room that full groups need must not be more than the text's own length.
  const size_t room = (in.length() + kGroup - 1) / kGroup * 3;
  if (room > in.length()) {
    out = DwString(std::string(in.length(), '\0'));
    return -1;
  }
  Bytes decoded(room);
  const char* const end = decode_base64(in.View(), decoded.data());
  decoded.SetSize(static_cast<size_t>(end - decoded.data()));
  out = DwString(std::move(decoded));
  return 0;
}

int DwDecodeQuotedPrintable(const DwString& in, DwString& out) {
  std::string_view rest = in.View();
  rest = rest.substr(0, rest.find('\0'));
  Bytes decoded(rest.size());
  char* end = decoded.data();
  bool valid = true;
  while (!rest.empty()) {
    const size_t line_end = rest.find('\n');
    bool hard_end = true;
    end = decode_line(without_white_space_at_end(rest.substr(0, line_end)), end, hard_end, valid);
    if (hard_end && line_end != npos) *end++ = '\n';
    rest.remove_prefix(line_end == npos ? rest.size() : line_end + 1);
  }
  decoded.SetSize(static_cast<size_t>(end - decoded.data()));
  out = DwString(std::move(decoded));
  return valid ? 0 : -1;
}
