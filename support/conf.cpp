#include "support/conf.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include "support/base/owned.h"
#include "support/conf_text.h"
#include "support/report.h"

#define KEM_DEFINE_CONF_VALUE(key) const char* key = nullptr;
KEM_CONF_KEYS(KEM_DEFINE_CONF_VALUE)
#undef KEM_DEFINE_CONF_VALUE

char certificates_dir[4096];

namespace {

// The whole file as a sequence of NUL-terminated lines; built once and never freed, because all
// returned values point into it.
char* image = nullptr;
size_t image_length = 0;

void read_image() {
  const OwnedFile file(fopen(kConfFile, "r"));
  struct stat status {};
  if (!file || fstat(fileno(file.get()), &status) != 0) return;
  setvbuf(file.get(), nullptr, _IONBF, 0);  // leaves no copy in a buffer
  const size_t size = static_cast<size_t>(status.st_size);
  char* const text = static_cast<char*>(malloc(size + 2));
  if (text == nullptr) return;
  if (fread(text, size, 1, file.get()) != 1) {
    free(text);
    return;
  }
  text[size] = '\0';
  text[size + 1] = '\0';
  kem::cut_conf_lines(text, size);
  image = text;
  image_length = size;
}

bool is_space(char c) {
  return isspace(static_cast<unsigned char>(c)) != 0;
}

const char* skip_space(const char* text) {
  while (is_space(*text)) ++text;
  return text;
}

}  // namespace

const char* conf_lookup(const char* key) {
  if (image == nullptr) read_image();
  return image != nullptr ? kem::find_conf_value(image, image_length, key) : nullptr;
}

const char* conf_require(const char* key) {
  const char* const value = conf_lookup(key);
  if (value == nullptr || *value == '\0') report_error(1, 0, "Error: %s not defined", key);
  return value;
}

void load_conf_paths() {
  for (const auto& [key, value] : kem::kConfValues) {
    *value = conf_lookup(key);
    if (*value == nullptr || **value == '\0') report_error(1, 0, "Error: %s not defined\n", key);
  }
  snprintf(certificates_dir, sizeof certificates_dir, "%s/var/certificates", PRODUCT_ROOT_D);
}

void kem::wipe_conf() {
  if (image != nullptr) explicit_bzero(image, image_length);
  explicit_bzero(certificates_dir, sizeof certificates_dir);
}

void kem::cut_conf_lines(char* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (text[i] != '\n') continue;
    text[i] = '\0';
    for (size_t back = i; back > 0 && is_space(text[back - 1]); --back) text[back - 1] = '\0';
  }
}

const char* kem::find_conf_value(const char* text, size_t length, const char* key) {
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
