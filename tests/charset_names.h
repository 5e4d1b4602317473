#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

/// The names of all charsets that the C library knows, as `iconv -l` lists them.
inline std::vector<std::string> all_charsets() {
  std::vector<std::string> names;
  FILE* const list = popen("iconv -l", "r");
  std::string name;
  for (int c = getc(list); c != EOF; c = getc(list)) {
    const bool ends = c == '/' || c == ',' || c == ' ' || c == '\n';
    if (!ends) name += static_cast<char>(c);
    if (ends && !name.empty()) names.push_back(std::move(name));
    if (ends) name.clear();
  }
  pclose(list);
  return names;
}
