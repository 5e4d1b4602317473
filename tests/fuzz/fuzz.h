#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>

/// The entry point of a fuzz target; `data` is any bytes. Aborts if the code under test breaks a
/// promise.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Aborts if a condition does not hold, with a message on descriptor 2, because `stderr` may be
/// captured.
inline void require(bool holds, const char* what) {
  if (holds) return;
  dprintf(STDERR_FILENO, "Does not hold: %s\n", what);
  abort();
}

/// An input that is read piece by piece from its start.
class Input {
 public:
  Input(const uint8_t* data, size_t size)
      : rest_(size > 0 ? std::string_view(reinterpret_cast<const char*>(data), size)
                       : std::string_view()) {}

  /// The next byte, or 0 at the end.
  unsigned Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }

  /// The bytes before the next `end`, which is skipped; the rest if there is none.
  std::string UpTo(char end) {
    const size_t length = rest_.find(end);
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length == std::string_view::npos ? rest_.size() : length + 1);
    return text;
  }

  /// The rest of the input.
  std::string Rest() {
    std::string text(rest_);
    rest_ = {};
    return text;
  }

  bool IsAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};
