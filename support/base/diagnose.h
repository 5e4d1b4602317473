#ifndef SUPPORT_BASE_DIAGNOSE_H
#define SUPPORT_BASE_DIAGNOSE_H

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

/// Writes the pieces and a newline to standard error, as one line at once: lines of runs that share
/// a log stay whole, and a stranger who provokes many of them does not cost a write for each piece.
inline void diagnose(std::initializer_list<std::string_view> pieces) {
  std::string line;
  for (const std::string_view piece : pieces) line += piece;
  line += '\n';
  fwrite(line.data(), 1, line.size(), stderr);
  fflush(stderr);
}

#endif
