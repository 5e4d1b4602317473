#ifndef AUTORESPONDER_READER_DIAGNOSTICS_H
#define AUTORESPONDER_READER_DIAGNOSTICS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "autoresponder/reader/transfer.h"

/// Precedes a text of diagnostics among what the reader sends.
constexpr uint64_t kDiagnostics = 0x44696167'6E6F7374;

/// The size of the longest text of diagnostics that is sent at once, in bytes.
constexpr size_t kMaxDiagnostics = size_t{64} << 10;

/// In the reader: sends all that this process writes to `stderr` from now on, for ever. The
/// descriptor of standard error is not used. `sender` has to live as long as the process. False if
/// memory ran out.
bool send_standard_error(Sender& sender);

/// In the run: writes to standard error what the reader reports, line by line, as far as the intake
/// could report it on a message of this size. Anything else throws `ReaderFailure`.
class DiagnosticsRelay {
 public:
  explicit DiagnosticsRelay(size_t message_size);

  /// `text`: more of the diagnostics, not empty; may end within a line.
  void Add(std::string_view text);

  /// Call when nothing follows.
  void End() const;

 private:
  bool CanBeOfIntake(std::string_view line);

  uint64_t left_;        // bytes that may still come
  uint64_t lines_left_;  // lines
  size_t max_line_;
  std::string line_;  // the start of a line
  bool may_continue_ = false;
};

#endif
