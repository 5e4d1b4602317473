#pragma once

#include <algorithm>
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

/// The pieces as one text. Each is copied once, whatever its size.
inline std::string joined(std::initializer_list<std::string_view> pieces) {
  size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  std::string text;
  text.reserve(length);
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

/// `text` on one line: each ASCII control character, tabs and DEL included, becomes a blank.
inline std::string in_one_line(std::string text) {
  const auto is_control = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
  std::replace_if(text.begin(), text.end(), is_control, ' ');
  return text;
}

/// Writes the pieces, which may hold NULs, one after another. A failure sets the file's error
/// indicator (`ferror`).
inline void write_pieces(FILE* file, std::initializer_list<std::string_view> pieces) {
  for (const std::string_view piece : pieces) {
    if (!piece.empty()) fwrite(piece.data(), 1, piece.size(), file);  // an empty one may be null
  }
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::diagnose;
using kem::in_one_line;
using kem::joined;
using kem::write_pieces;
