#include "support/strings.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <mysql.h>

#include "support/base/owned.h"
#include "support/report.h"

namespace {

constexpr size_t kResultSize = 4096;

bool is_space(char c) {
  return isspace(static_cast<unsigned char>(c)) != 0;
}

// What follows the key; null if there is no text or no key in it.
const char* after(const char* text, const char* key) {
  const char* const found = text != nullptr ? strstr(text, key) : nullptr;
  return found != nullptr ? found + strlen(key) : nullptr;
}

void copy_result(char (&result)[kResultSize], const char* text, size_t length) {
  if (length >= kResultSize) length = kResultSize - 1;
  memmove(result, text, length);  // the text may be what an earlier call returned
  result[length] = '\0';
}

// Appends pieces to a buffer as long as they stay below its size.
class BoundedText {
 public:
  BoundedText(char* buffer, size_t size) : buffer_(buffer), size_(size) {}

  bool Append(const char* text, size_t length) {
    if (length_ + length >= size_) return false;
    memcpy(buffer_ + length_, text, length);
    length_ += length;
    return true;
  }

  // Ends the text with a NUL; returns its size with the NUL.
  size_t Finish() {
    buffer_[length_] = '\0';
    return length_ + 1;
  }

 private:
  char* buffer_;
  size_t size_;
  size_t length_ = 0;
};

// Returns where in the source the copying stopped.
const char* replace_while_it_fits(const char* source, const char* find, const char* replacement,
                                  BoundedText& text) {
  const char* rest = source;
  while (const char* const found = strstr(rest, find)) {
    if (!text.Append(rest, static_cast<size_t>(found - rest))) return rest;
    rest = found;
    if (!text.Append(replacement, strlen(replacement))) return rest;
    rest += strlen(find);
  }
  return rest;
}

}  // namespace

char* sql_escape(st_mysql* connection, const char* text) {
  if (text == nullptr) return nullptr;
  const size_t length = strlen(text);
  char* const escaped = static_cast<char*>(xmalloc(2 * length + 1));
  mysql_real_escape_string(connection, escaped, text, length);
  return escaped;
}

char* str_replace_char(char* source, char* destination, char find, char replacement) {
  if (destination == nullptr) destination = source;
  char* out = destination;
  for (const char* in = source; *in != '\0'; ++in) *out++ = *in == find ? replacement : *in;
  *out = '\0';
  return destination;
}

const char* strn_replace(const char* source, char* destination, const char* find,
                         const char* replacement, size_t size) {
  if (destination == nullptr) return nullptr;
  if (size == 0) return destination;
  if (find == nullptr || *find == '\0') {
    const size_t length = strnlen(source, size);
    memmove(destination, source, length < size ? length + 1 : size);
    return destination;
  }
  const OwnedText buffer(static_cast<char*>(malloc(size)));
  if (!buffer) {
    perror("strn_replace");
    return source;
  }
  BoundedText text(buffer.get(), size);
  const char* const rest = replace_while_it_fits(source, find, replacement, text);
  text.Append(rest, strlen(rest));
  memcpy(destination, buffer.get(), text.Finish());
  return destination;
}

char* str_trim(char* text) {
  for (size_t end = strlen(text); end > 0 && is_space(text[end - 1]); --end) text[end - 1] = '\0';
  while (is_space(*text)) ++text;
  return text;
}

void str_tolower(char* text) {
  if (text == nullptr) return;
  for (; *text != '\0'; ++text)
    *text = static_cast<char>(tolower(static_cast<unsigned char>(*text)));
}

const char* get_word_after(const char* text, const char* key) {
  static char word[kResultSize];
  const char* start = after(text, key);
  if (start == nullptr) start = "";
  while (is_space(*start)) ++start;
  size_t length = 0;
  while (start[length] != '\0' && !is_space(start[length])) ++length;
  copy_result(word, start, length);
  return word;
}

const char* get_line_after(const char* text, const char* key) {
  static char line[kResultSize];
  const char* const start = after(text, key);
  copy_result(line, start != nullptr ? start : "", start != nullptr ? strcspn(start, "\n") : 0);
  return line;
}

void check_param(int condition, const char* value, const char* name) {
  const bool missing = value == nullptr || *value == '\0';
  if (condition != 0 && missing) {
    report_error(1, 0, "Miss parameter '%s' or previos parameter empty.\n", name);
  }
}

void check_all_processed(int processed, int given) {
  if (processed != given) {
    report_error(1, 0,
                 "Some parameters in command string leave unprocessed. Check parameters please.");
  }
}

void* xmalloc(size_t size) {
  return xrealloc(nullptr, size);
}

void* xrealloc(void* memory, size_t size) {
  void* const resized = realloc(memory, size > 0 ? size : 1);
  if (resized == nullptr) report_error(1, 0, "alloc(%d)", static_cast<int>(size));
  return resized;
}

int random_below(int n) {
  srand(static_cast<unsigned>(time(nullptr)));
  constexpr double kDraws = 2147483648.0;
  return static_cast<int>(n * (rand() / kDraws));  // NOLINT: not for secrets
}
