#pragma once

#include <stdexcept>
#include <string>

/// The bytes of a string in tests/data/messages.json, which holds byte N as the character U+00NN.
/// Throws `std::runtime_error` for any other character.
inline std::string recorded_bytes(const std::string& utf8) {
  std::string bytes;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      bytes += utf8[i];
    } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < utf8.size()) {
      bytes += static_cast<char>((lead & 3U) << 6 | (static_cast<unsigned char>(utf8[++i]) & 63U));
    } else {
      throw std::runtime_error("a recorded message holds something else than bytes");
    }
  }
  return bytes;
}
