#pragma once

#include <cstdio>
#include <initializer_list>
#include <string_view>

namespace kem {

/// Writes the pieces, which may hold NULs, one after another. A failure sets the file's error
/// indicator (`ferror`).
inline void write_pieces(FILE* file, std::initializer_list<std::string_view> pieces) {
  for (const std::string_view piece : pieces) {
    if (!piece.empty()) fwrite(piece.data(), 1, piece.size(), file);  // an empty one may be null
  }
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::write_pieces;
