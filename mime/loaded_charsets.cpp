#include "mime/loaded_charsets.h"

#include <algorithm>
#include <cctype>
#include <list>

#include "mime/converter.h"

namespace {

// More than the number of charsets that the C library has to load.
constexpr size_t kMaxKept = 400;

// The form of a charset name that identifies it: iconv ignores case, a suffix and some punctuation.
std::string normalised(const std::string& name) {
  std::string result;
  for (const char c : name.substr(0, name.find_first_of("/,"))) {
    const auto code = static_cast<unsigned char>(c);
    const bool counts = isalnum(code) != 0 || c == '_' || c == '-' || c == '.' || c == ':';
    if (counts) result += static_cast<char>(toupper(code));
  }
  return result;
}

struct Kept {
  std::string name;
  Converter converter;
};

}  // namespace

void keep_charset_loaded(const std::string& charset, const std::string& to_charset) {
  static std::list<Kept> all;  // the most recently used one first
  std::string name = normalised(charset);
  const auto found =
      std::find_if(all.begin(), all.end(), [&name](const Kept& kept) { return kept.name == name; });
  if (found != all.end()) {
    all.splice(all.begin(), all, found);
    return;
  }
  Converter converter(to_charset, charset);
  if (!converter.IsOpen()) return;
  all.push_front({std::move(name), std::move(converter)});
  if (all.size() > kMaxKept) all.pop_back();
}
