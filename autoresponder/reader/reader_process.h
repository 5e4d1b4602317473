// The parent's side: the child process and the connection to it.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

#include "autoresponder/confinement/confinement.h"
#include "support/base/owned.h"

/// A confined child process, and the only way to talk with it. Treat the child as hostile: every
/// call throws `ReaderFailure` if the child has ended or keeps us waiting for too long. There is at
/// most one at a time.
class ReaderProcess {
 public:
  /// What the child does once it is confined, by `reached`. `channel`: its end of the connection, a
  /// descriptor. The child ends when this returns or throws.
  using Work = std::function<void(int channel, ConfinementSet reached)>;
  using Time = std::chrono::milliseconds;

  /// Starts `work` in a child that is confined for a message of `size` bytes. Throws
  /// `ReaderNotStarted`.
  ReaderProcess(const Work& work, size_t size, ConfinementSet wanted = wanted_confinements());
  ~ReaderProcess() { End(); }
  ReaderProcess(const ReaderProcess&) = delete;
  ReaderProcess& operator=(const ReaderProcess&) = delete;

  /// Sets how long all following calls together may wait for the child. The time between calls does
  /// not count: writing diagnostics may take long.
  void Allow(Time time) { left_ = time; }

  void Send(const char* bytes, size_t length);
  void Receive(char* bytes, size_t length);

  /// Closes the connection. A child that behaves then ends, while we go on.
  void HangUp() { socket_ = OwnedDescriptor(-1); }
  /// Kills the child, and waits for its end.
  void End();

 private:
  void Await(short event);
  size_t ReceiveSome(char* bytes, size_t length);

  OwnedDescriptor socket_;
  std::chrono::nanoseconds left_{};
  // Bytes that were received and not asked for yet.
  std::vector<char> ahead_;
  size_t ahead_used_ = 0;
};

/// Kills the child, if there is one, and waits for its end. Safe to call in a signal handler.
void end_reader();

/// Like `end_reader`, for calls outside of signal handlers; afterwards there is no child.
void forget_reader();
