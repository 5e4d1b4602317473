#include "mime/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "support/base/base64_values.h"
#include "support/base/diagnose.h"

namespace {

constexpr uint8_t kNoSymbol = 64;
constexpr std::array<uint8_t, 256> kValues = base64_values(kNoSymbol);

bool is_white_space(char c) {
  return c == '\t' || c == '\n' || c == '\r' || c == ' ';
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
