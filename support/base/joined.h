#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace kem {

/// The pieces as one text. Each is copied once, whatever its size.
inline std::string joined(std::initializer_list<std::string_view> pieces) {
  size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  std::string text;
  text.reserve(length);
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::joined;
