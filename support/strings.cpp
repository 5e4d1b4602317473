#include "support/strings.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include <mysql.h>

#include "support/report.h"

namespace {

bool is_space(char c) {
  return isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

char* sql_escape(st_mysql* connection, const char* text) {
  if (text == nullptr) return nullptr;
  const size_t length = strlen(text);
  char* const escaped = static_cast<char*>(xmalloc(2 * length + 1));
  mysql_real_escape_string(connection, escaped, text, length);
  return escaped;
}

char* str_trim(char* text) {
  for (size_t end = strlen(text); end > 0 && is_space(text[end - 1]); --end) text[end - 1] = '\0';
  while (is_space(*text)) ++text;
  return text;
}

void* xmalloc(size_t size) {
  void* const memory = malloc(size);
  if (memory == nullptr) report_error(1, 0, "alloc(%d)", static_cast<int>(size));
  return memory;
}
