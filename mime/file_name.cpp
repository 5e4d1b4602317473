#include "mime/file_name.h"

#include <algorithm>
#include <cctype>

#include "mime/charset.h"
#include "mime/header_encode.h"

namespace {

bool is_plain(char c) {
  return c >= ' ' && c < 0x7F;
}

std::string in_quotes(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::string percent_encoded(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_plain(c) && (isalnum(byte) != 0 || c == '.' || c == '-' || c == '_')) {
      result += c;
    } else {
      result.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return result;
}

}  // namespace

std::string file_name_parameter(std::string_view name) {
  const bool is_like_word = name.find("=?") != std::string_view::npos;
  if (!is_like_word && std::all_of(name.begin(), name.end(), is_plain)) return in_quotes(name);
  std::string value = in_quotes(header_encode(name));
  if (!is_unchanged(name, "UTF-8", "UTF-8")) return value;
  return value + ";\n\tfilename*=UTF-8''" + percent_encoded(name);
}
