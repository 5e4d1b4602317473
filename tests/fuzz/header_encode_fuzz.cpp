// Encodes text for a header, and decodes it again by a decoder of its own.
//
// An input is: how often the text is repeated, and the text. Long ones are written in pieces.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "../memory_file.h"
#include "fuzz.h"
#include "mime/encoded_word.h"
#include "mime/header_encode.h"
#include "utf8.h"

namespace {

constexpr std::string_view kStart = "=?utf-8?Q?";
constexpr std::string_view kEnd = "?=";
constexpr size_t kMaxLength = 20000;

// Decodes the "Q" encoding (RFC 2047, 4.2); nothing for data that it does not allow.
std::optional<std::string> read_q(std::string_view data) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < data.size(); ++i) {
    if (data[i] == '?' || data[i] <= ' ') return std::nullopt;
    if (data[i] != '=') {
      text += data[i] == '_' ? ' ' : data[i];
      continue;
    }
    if (i + 2 >= data.size()) return std::nullopt;
    const size_t high = kDigits.find(data[++i]);
    const size_t low = kDigits.find(data[++i]);
    if (high >= 16 || low >= 16) return std::nullopt;
    text += static_cast<char>(high * 16 + low);
  }
  return text;
}

// Decodes a header's value.
std::optional<std::string> read_header(std::string_view value) {
  if (value.find("=?") == std::string_view::npos) return std::string(value);
  std::string blank;
  if (value[0] == ' ') {
    blank = " ";
    value.remove_prefix(1);
  }
  const bool framed = value.size() >= kStart.size() + kEnd.size() &&
                      value.substr(0, kStart.size()) == kStart &&
                      value.substr(value.size() - kEnd.size()) == kEnd;
  if (!framed) return std::nullopt;
  value.remove_prefix(kStart.size());
  value.remove_suffix(kEnd.size());
  const std::optional<std::string> text = read_q(value);
  return text ? std::optional<std::string>(blank + *text) : std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const unsigned repeats = input.Byte() + 1;
  const std::string once = input.Rest();
  std::string text;
  for (unsigned i = 0; i < repeats && text.size() <= kMaxLength; ++i) text += once;

  const std::string value = header_encode(text);
  require(std::none_of(value.begin(), value.end(),
                       [](char c) { return static_cast<signed char>(c) < 0x20; }),
          "a header value has no control characters and no eighth bit");
  require(read_header(value) == text, "a header value stands for the text");
  const MemoryFile written;
  const std::string_view all = text;
  write_header_encoded(written.get(), {all.substr(0, repeats % (all.size() + 1)),
                                       all.substr(repeats % (all.size() + 1))});
  require(written.Text() == value, "what is written is what is returned");
  require(value == text || value.find(q_encode(text.substr(value[0] == ' '))) != std::string::npos,
          "pieces are encoded as the whole is");
  // Our decoder converts charsets: it takes valid UTF-8 back, and fails where a word ends within a
  // character.
  if (is_utf8(text, kLargestToday)) {
    require(rfc1522_decode(value) == text, "our own decoder takes it back");
  }
  return 0;
}
