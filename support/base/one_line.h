#pragma once

#include <algorithm>
#include <string>

namespace kem {

/// `text` on one line: each ASCII control character, tabs and DEL included, becomes a blank.
inline std::string in_one_line(std::string text) {
  const auto is_control = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
  std::replace_if(text.begin(), text.end(), is_control, ' ');
  return text;
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::in_one_line;
