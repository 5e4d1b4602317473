#include "support/conf_text.h"

#include <cctype>
#include <cstring>

namespace kem {

namespace {

bool is_space(char c) {
  return isspace(static_cast<unsigned char>(c)) != 0;
}

const char* skip_space(const char* text) {
  while (is_space(*text)) ++text;
  return text;
}

}  // namespace

void cut_conf_lines(char* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (text[i] != '\n') continue;
    text[i] = '\0';
    for (size_t back = i; back > 0 && is_space(text[back - 1]); --back) text[back - 1] = '\0';
  }
}

const char* find_conf_value(const char* text, size_t length, const char* key) {
  const size_t key_length = strlen(key);
  const char* const end = text + length;
  for (const char* line = text; line < end; line += strlen(line) + 1) {
    line = skip_space(line);
    if (*line == *key && strncmp(line, key, key_length) == 0 && is_space(line[key_length])) {
      return skip_space(line + key_length);
    }
  }
  return nullptr;
}

}  // namespace kem
