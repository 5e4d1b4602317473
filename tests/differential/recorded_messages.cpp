#include "recorded_messages.h"

#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace {

// The file holds bytes as the characters U+0000 to U+00FF.
std::string bytes_of(const std::string& utf8) {
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

}  // namespace

std::vector<std::string> recorded_messages() {
  std::ifstream file(TEST_DATA_DIR "/messages.json");
  std::vector<std::string> messages;
  for (const auto& row : nlohmann::json::parse(file)) {
    messages.push_back(bytes_of(row.at("message").get<std::string>()));
  }
  return messages;
}
