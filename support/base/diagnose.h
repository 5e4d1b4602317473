#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kem {

/// Writes the pieces and a newline to standard error. A line of up to 4096 bytes is one write, so
/// that concurrent runs do not interleave. A longer one is not assembled first: a pipe would split
/// it anyway, and a message may provoke one of many megabytes.
inline void diagnose(std::initializer_list<std::string_view> pieces) {
  constexpr size_t kOrdinary = 4096;
  std::string line;
  for (const std::string_view piece : pieces) {
    if (line.size() + piece.size() > kOrdinary) {
      fwrite(line.data(), 1, line.size(), stderr);
      fwrite(piece.data(), 1, piece.size(), stderr);
      line.clear();
    } else {
      line += piece;
    }
  }
  line += '\n';
  fwrite(line.data(), 1, line.size(), stderr);
  fflush(stderr);
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::diagnose;
