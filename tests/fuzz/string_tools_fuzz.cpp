// Compares the routines on NUL-terminated texts with their rules.
//
// An input is: a size in two bytes, how often the text is repeated, and three texts: what is
// looked for, what replaces it, and the text.

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz.h"
#include "support/strings.h"

namespace {

constexpr size_t kMaxLength = 10000;
constexpr size_t kResult = 4095;
constexpr const char* kWhite = " \t\n\v\f\r";

// A text in memory of exactly its size, so that the sanitizer sees a step over its end.
class Buffer {
 public:
  explicit Buffer(size_t size) : bytes_(new char[size]) { memset(bytes_.get(), '#', size); }
  explicit Buffer(const std::string& text) : Buffer(text.size() + 1) {
    memcpy(bytes_.get(), text.c_str(), text.size() + 1);
  }

  char* Get() { return bytes_.get(); }

 private:
  std::unique_ptr<char[]> bytes_;
};

// The expected result: at most `size` bytes with the NUL.
std::string replaced(const std::string& source, const std::string& find,
                     const std::string& replacement, size_t size) {
  std::string out;
  size_t position = 0;
  for (;;) {
    const size_t found = source.find(find, position);
    if (found == std::string::npos) break;
    const std::string front = source.substr(position, found - position);
    if (out.size() + front.size() >= size) break;
    out += front;
    position = found;
    if (out.size() + replacement.size() >= size) break;
    out += replacement;
    position += find.size();
  }
  const std::string rest = source.substr(position);
  return out.size() + rest.size() < size ? out + rest : out;
}

void check_replace(const std::string& source, const std::string& find,
                   const std::string& replacement, size_t size) {
  Buffer text(source);
  Buffer destination(size > 0 ? size : 1);
  require(strn_replace(text.Get(), destination.Get(), find.c_str(), replacement.c_str(), size) ==
              destination.Get(),
          "the destination is returned");
  require(text.Get() == source, "the source stays");
  if (size == 0) {
    require(destination.Get()[0] == '#', "without a size nothing is written");
  } else if (find.empty()) {
    const size_t length = std::min(source.size() + 1, size);
    require(memcmp(destination.Get(), source.c_str(), length) == 0, "a text is copied");
  } else {
    require(destination.Get() == replaced(source, find, replacement, size),
            "what fits is replaced");
  }
}

void check_replace_in_place(const std::string& source, const std::string& find,
                            const std::string& replacement) {
  if (find.empty()) return;
  const size_t size = source.size() + 1;
  Buffer text(source);
  strn_replace(text.Get(), text.Get(), find.c_str(), replacement.c_str(), size);
  require(text.Get() == replaced(source, find, replacement, size), "a text is replaced in place");
}

void check_after(const std::string& text, const std::string& key) {
  const size_t found = text.find(key);
  const std::string after = found == std::string::npos ? "" : text.substr(found + key.size());
  const size_t start = std::min(after.find_first_not_of(kWhite), after.size());
  const std::string word = after.substr(start, after.find_first_of(kWhite, start) - start);
  const std::string line = after.substr(0, after.find('\n'));
  Buffer exact_text(text);
  Buffer exact_key(key);
  require(get_word_after(exact_text.Get(), exact_key.Get()) == word.substr(0, kResult),
          "the word after a key is found");
  require(get_line_after(exact_text.Get(), exact_key.Get()) == line.substr(0, kResult),
          "the line after a key is found");
}

void check_trim(const std::string& text) {
  const size_t start = std::min(text.find_first_not_of(kWhite), text.size());
  const size_t end = text.find_last_not_of(kWhite) + 1;
  Buffer buffer(text);
  const char* const trimmed = str_trim(buffer.Get());
  const auto offset = static_cast<size_t>(trimmed - buffer.Get());
  require(offset <= text.size(), "the trimmed text lies in its buffer");
  require(trimmed == (end > start ? text.substr(start, end - start) : ""),
          "white space at both ends is trimmed");
}

void check_single_characters(const std::string& text, char find, char replacement) {
  std::string expected = text;
  std::replace(expected.begin(), expected.end(), find, replacement);
  Buffer source(text);
  Buffer copy(text.size() + 1);
  str_replace_char(source.Get(), copy.Get(), find, replacement);
  require(copy.Get() == expected && source.Get() == text, "characters are replaced in a copy");
  str_replace_char(source.Get(), nullptr, find, replacement);
  require(source.Get() == expected, "characters are replaced in place");

  std::string lower = text;
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  Buffer letters(text);
  str_tolower(letters.Get());
  require(letters.Get() == lower, "letters become small");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const size_t limit = input.Byte() << 8 | input.Byte();
  const unsigned repeats = input.Byte() + 1;
  const std::string find = input.UpTo('\0');
  const std::string replacement = input.UpTo('\0');
  const std::string once = input.UpTo('\0');
  std::string text;
  for (unsigned i = 0; i < repeats && text.size() <= kMaxLength; ++i) text += once;

  check_replace(text, find, replacement, limit);
  check_replace_in_place(text, find, replacement);
  check_after(text, find);
  check_trim(text);
  if (!find.empty() && !replacement.empty()) check_single_characters(text, find[0], replacement[0]);
  return 0;
}
