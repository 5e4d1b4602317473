#pragma once

#include <string>
#include <string_view>

/// `text` with a CR before each of its LFs.
inline std::string with_crlf(std::string_view text) {
  std::string longer;
  for (const char c : text) {
    if (c == '\n') longer += '\r';
    longer += c;
  }
  return longer;
}
