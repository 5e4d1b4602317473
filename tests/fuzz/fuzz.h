#ifndef TESTS_FUZZ_FUZZ_H
#define TESTS_FUZZ_FUZZ_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>

/// What every fuzz target is: one input, any bytes. Aborts where the code under test breaks its
/// word.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the process when something that must hold does not. Says so also where `stderr` is
/// captured.
inline void require(bool holds, const char* what) {
  if (holds) return;
  dprintf(STDERR_FILENO, "Does not hold: %s\n", what);
  abort();
}

/// One input, taken apart from its front.
class Input {
 public:
  Input(const uint8_t* data, size_t size)
      : rest_(size > 0 ? std::string_view(reinterpret_cast<const char*>(data), size)
                       : std::string_view()) {}

  /// The next byte, 0 when there is none.
  unsigned Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  /// The bytes up to the next `end`, which is dropped, or all that are left.
  std::string UpTo(char end) {
    const size_t length = rest_.find(end);
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length == std::string_view::npos ? rest_.size() : length + 1);
    return text;
  }

  /// Everything that is left.
  std::string Rest() {
    std::string text(rest_);
    rest_ = {};
    return text;
  }

  bool IsAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

#endif
