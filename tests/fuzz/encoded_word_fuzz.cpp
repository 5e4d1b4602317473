// Decodes a header value with encoded words.

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "../memory_file.h"
#include "field_text.h"
#include "fuzz.h"
#include "mime/charset.h"
#include "mime/encoded_text.h"
#include "mime/encoded_word.h"
#include "support/base/ex_error.h"
#include "utf8.h"

namespace {

// The value without the blanks between two encoded words.
std::string with_words_joined(const std::string& value) {
  std::string joined;
  for (size_t i = 0; i < value.size();) {
    size_t end = i;
    while (end < value.size() && is_blank(value[end])) ++end;
    const bool dropped = word_ends_before(value, i) && value.compare(end, 2, "=?") == 0;
    if (!dropped) joined.append(value, i, end - i);
    if (end < value.size()) joined += value[end++];
    i = end;
  }
  return joined;
}

// Decodes one word by its three question marks; nothing for a token that is no encoded word.
std::optional<std::string> decode_word(std::string_view token) {
  if (token.substr(0, 2) != "=?") return std::nullopt;
  std::string part[4];  // charset, encoding, data, and what follows them
  size_t index = 0;
  for (size_t i = 2; i < token.size(); ++i) {
    const bool ends = index < 2 ? token[i] == '?' : token.compare(i, 2, "?=") == 0;
    if (index == 3 || !ends) {
      part[index] += token[i];
    } else if (++index == 3) {
      ++i;
    }
  }
  if (index < 3) return std::nullopt;
  std::string bytes;
  if (part[1] == "Q" || part[1] == "q") bytes = qp_decode(part[2]);
  if (part[1] == "B" || part[1] == "b") bytes = base64_decode(part[2]);
  return convert_charset(bytes, part[0], "utf-8", true) + part[3];
}

// The token decoder under test; its result must equal that of `decode_word`.
std::string checked_word(std::string_view token) {
  std::string decoded = rfc1522_decode_word(token);
  require(decoded == decode_word(token).value_or(std::string(token)),
          "a word is read by the rules");
  return decoded;
}

// Nothing when the value names a charset that nobody knows.
std::optional<std::string> decode(const std::string& value, TokenDecoder decode_one) {
  try {
    std::string decoded = decode_tokens(value, decode_one);
    require(!ends_in_word_and_blanks(value), "a word and blanks at the end throw");
    return decoded;
  } catch (const quern::ExError&) {
    require(value.find("=?") != std::string::npos, "only an encoded word can fail");
  } catch (const std::out_of_range&) {
    require(ends_in_word_and_blanks(value), "nothing but a word and blanks at the end throws");
  }
  return std::nullopt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const CapturedDiagnostics diagnostics;
  const std::string value = Input(data, size).Rest();

  const auto same = [](std::string_view token) { return std::string(token); };
  if (const auto joined = decode(value, same)) {
    require(*joined == with_words_joined(value), "only blanks between two words are dropped");
  }
  if (const auto decoded = decode(value, checked_word)) {
    require(!is_utf8(value, kLargestOfIconv) || is_utf8(*decoded, kLargestOfIconv),
            "UTF-8 stays UTF-8");
    require(value.find("=?") != std::string::npos || *decoded == value,
            "a value without encoded words stays as it is");
    require(rfc1522_decode(value) == *decoded, "a header value is decoded token by token");
  }
  return 0;
}
