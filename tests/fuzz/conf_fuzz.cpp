// Compares the reading of a configuration file with a reader that splits it line by line.
//
// An input is: the key, up to a NUL, and the file.

#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "fuzz.h"
#include "support/conf_text.h"

namespace {

constexpr const char* kWhite = " \t\n\v\f\r";

std::string without_leading(const std::string& text) {
  const size_t start = text.find_first_not_of(kWhite);
  return start == std::string::npos ? "" : text.substr(start);
}

// The value in one line, which may be empty.
std::optional<std::string> value_in(const std::string& line, const std::string& key) {
  const std::string setting = without_leading(line);
  const bool matches = setting.compare(0, key.size(), key) == 0 && setting.size() > key.size() &&
                       strchr(kWhite, setting[key.size()]) != nullptr;
  if (!matches) return std::nullopt;
  return without_leading(setting.substr(key.size()));
}

std::optional<std::string> value_of(const std::string& text, const std::string& key) {
  for (size_t start = 0; start < text.size();) {
    const size_t end = text.find('\n', start);
    std::string line = text.substr(start, end - start);
    // Kept: a last line without its newline keeps the white space at its end.
    if (end != std::string::npos) line.resize(line.find_last_not_of(kWhite) + 1);
    for (Input stretches(reinterpret_cast<const uint8_t*>(line.data()), line.size());
         !stretches.IsAtEnd();) {
      if (auto value = value_in(stretches.UpTo('\0'), key)) return value;
    }
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const std::string key = input.UpTo('\0');
  const std::string text = input.Rest();
  if (key.empty() || strchr(kWhite, key[0]) != nullptr) return 0;  // no setting has such a name

  const std::unique_ptr<char[]> image(new char[text.size() + 1]);
  memcpy(image.get(), text.c_str(), text.size() + 1);
  kem::cut_conf_lines(image.get(), text.size());
  const char* const value = kem::find_conf_value(image.get(), text.size(), key.c_str());
  const std::optional<std::string> expected = value_of(text, key);
  require((value != nullptr) == expected.has_value(), "a key is found where there is one");
  require(value == nullptr || *expected == value, "its value is the rest of its line");
  require(memchr(image.get(), '\n', text.size()) == nullptr, "no newline is left");
  return 0;
}
