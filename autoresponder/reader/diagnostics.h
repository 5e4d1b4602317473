// The wire between child and parent: diagnostics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "autoresponder/reader/transfer.h"

/// Precedes each text of diagnostics that the child sends.
constexpr uint64_t kDiagnostics = 0x44696167'6E6F7374;

/// Maximum size of one such text, in bytes.
constexpr size_t kMaxDiagnostics = size_t{64} << 10;

/// Child: from now on sends what this process writes to `stderr` through `sender`, which has to
/// live as long as the process. The descriptor of standard error is not used. False if memory ran
/// out.
bool send_standard_error(Sender& sender);

/// Parent: writes the child's diagnostics to standard error, line by line. Throws `ReaderFailure`
/// for any that the intake cannot write about a message of `message_size` bytes.
class DiagnosticsRelay {
 public:
  explicit DiagnosticsRelay(size_t message_size);

  /// `text`: more of the diagnostics, not empty; may end within a line.
  void Add(std::string_view text);

  /// Call after the last text. Throws `ReaderFailure` if a line is incomplete.
  void End() const;

 private:
  bool CanBeOfIntake(std::string_view line);

  uint64_t left_;        // bytes that may still come
  uint64_t lines_left_;  // lines that may still come
  size_t max_line_;
  std::string line_;  // a line that is not complete yet
  bool may_continue_ = false;
};
