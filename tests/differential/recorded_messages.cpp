#include "recorded_messages.h"

#include <fstream>

#include <nlohmann/json.hpp>

#include "../recorded_bytes.h"

std::vector<std::string> recorded_messages() {
  std::ifstream file(TEST_DATA_DIR "/messages.json");
  std::vector<std::string> messages;
  for (const auto& row : nlohmann::json::parse(file)) {
    messages.push_back(recorded_bytes(row.at("message").get<std::string>()));
  }
  return messages;
}
