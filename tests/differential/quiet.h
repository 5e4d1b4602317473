#ifndef TESTS_DIFFERENTIAL_QUIET_H
#define TESTS_DIFFERENTIAL_QUIET_H

#include <iostream>
#include <streambuf>

/// Drops what the decoders say about malformed encoded words, thousands of lines, as long as it
/// lives.
class QuietStandardError {
 public:
  QuietStandardError() : previous_(std::cerr.rdbuf(nullptr)) {}
  ~QuietStandardError() {
    std::cerr.rdbuf(previous_);
    std::cerr.clear();
  }
  QuietStandardError(const QuietStandardError&) = delete;
  QuietStandardError& operator=(const QuietStandardError&) = delete;

 private:
  std::streambuf* previous_;
};

#endif
