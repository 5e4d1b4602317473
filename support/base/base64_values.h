#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kem {

/// The symbols of base64 in the order of their values, 0 to 63 (RFC 2045, table 1).
constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// For each byte its value as a symbol of base64; `no_symbol` for bytes outside the alphabet, "="
/// included.
constexpr std::array<uint8_t, 256> base64_values(uint8_t no_symbol) {
  std::array<uint8_t, 256> values{};
  for (uint8_t& value : values) value = no_symbol;
  for (size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<uint8_t>(i);
  }
  return values;
}

}  // namespace kem

// A short name for the code of this project. No installed header includes this one.
using kem::base64_values;
