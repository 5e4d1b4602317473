#pragma once

#include <string>
#include <string_view>

#include <mimelib/mimepp.h>

inline DwString string_of(std::string_view text) {
  return {text.data(), text.size()};
}

inline std::string bytes_of(const DwString& text) {
  return {text.data(), text.length()};
}
