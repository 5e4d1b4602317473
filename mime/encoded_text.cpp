#include "mime/encoded_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "support/base/base64_values.h"
#include "support/base/text.h"

namespace {

constexpr uint8_t kNoSymbol = 64;
constexpr std::array<uint8_t, 256> kValues = base64_values(kNoSymbol);

bool is_white_space(char c) {
  return c == '\t' || c == '\n' || c == '\r' || c == ' ';
}

// Decodes the two bytes at `position`, which follow a "=", and moves `position` past them.
//
// Kept: `strtoul` reads them. It skips white space, takes a sign, ends at a byte that is no digit,
// and gives 0 without a digit.
char escaped_byte(std::string_view payload, std::ptrdiff_t& position) {
  char digits[3] = "";
  for (int i = 0; i < 2 && static_cast<size_t>(position) < payload.size(); ++i) {
    digits[i] = payload[static_cast<size_t>(position++)];
  }
  char* end = nullptr;
  const unsigned long value = strtoul(digits, &end, 16);
  if (end == digits && digits[0] != '\0') {
    diagnose({"Bad hex in quoted-printable string: ", digits});
  }
  return static_cast<char>(value & 0xFF);
}

}  // namespace

unsigned base64_symbol(std::string_view payload, size_t& position) {
  while (position < payload.size() && payload[position] != '=') {
    const char c = payload[position++];
    const unsigned value = kValues[static_cast<unsigned char>(c)];
    if (value != kNoSymbol) return value;
    if (!is_white_space(c)) diagnose({"Bad base64 symbol: ", {&c, 1}});
  }
  return 0;
}

std::string base64_decode(std::string_view payload) {
  std::string out;
  out.reserve(payload.size() / 4 * 3 + 3);
  size_t position = 0;
  for (;;) {
    const size_t start = position;
    unsigned symbols[4];
    for (unsigned& symbol : symbols) symbol = base64_symbol(payload, position);
    const size_t consumed = position - start;
    if (consumed == 0) return out;
    const char bytes[] = {static_cast<char>(symbols[0] << 2 | symbols[1] >> 4),
                          static_cast<char>(symbols[1] << 4 | symbols[2] >> 2),
                          static_cast<char>(symbols[2] << 6 | symbols[3])};
    out.append(bytes, std::clamp<size_t>(consumed, 2, 4) - 1);
  }
}

std::string qp_decode(std::string_view payload) {
  std::string out;
  out.reserve(payload.size());
  std::ptrdiff_t position = 0;
  while (position >= 0) qp_decode_step(out, payload, position);
  return out;
}

void qp_decode_step(std::string& out, std::string_view payload, std::ptrdiff_t& position) {
  if (position < 0) return;
  if (static_cast<size_t>(position) >= payload.size()) {
    position = -1;
    return;
  }
  const char c = payload[static_cast<size_t>(position++)];
  if (c == '=') {
    out += escaped_byte(payload, position);
  } else {
    out += c == '_' ? ' ' : c;
  }
}
