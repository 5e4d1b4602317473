#ifndef AUTORESPONDER_READER_READER_PROCESS_H
#define AUTORESPONDER_READER_READER_PROCESS_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <sys/types.h>
#include <vector>

#include "autoresponder/confinement/confinement.h"
#include "support/base/owned.h"

/// A confined child process, and the only way to talk with it. Treat the child as hostile: every
/// call throws `ReaderFailure` if it has ended, or keeps us waiting for too long. There is at most
/// one at a time.
class ReaderProcess {
 public:
  /// What the process does with its end of the connection, a descriptor, once it is confined by
  /// what was reached. It ends when that returns or throws.
  using Work = std::function<void(int channel, ConfinementSet reached)>;
  using Time = std::chrono::milliseconds;

  /// Starts `work` in a process that is confined for a message of `size` bytes.
  ReaderProcess(const Work& work, size_t size, ConfinementSet wanted = wanted_confinements());
  ~ReaderProcess() { End(); }
  ReaderProcess(const ReaderProcess&) = delete;
  ReaderProcess& operator=(const ReaderProcess&) = delete;

  /// From now on all calls together may wait this long for the process. What we do between them
  /// does not count: it may be slow because whoever reads our diagnostics is.
  void Allow(Time time) { left_ = time; }

  void Send(const char* bytes, size_t length);
  void Receive(char* bytes, size_t length);

  /// Hangs up. A process that does its part ends then, while we go on.
  void HangUp() { socket_ = OwnedDescriptor(-1); }
  /// Ends the process, whatever it is doing, and waits for its end.
  void End();

 private:
  void Await(short event);
  size_t ReceiveSome(char* bytes, size_t length);

  OwnedDescriptor socket_;
  std::chrono::nanoseconds left_{};
  // Bytes that arrived together with those that were asked for.
  std::vector<char> ahead_;
  size_t ahead_used_ = 0;
};

/// Ends the reader, if there is one. Safe to call in a signal handler.
void end_reader();

/// The same outside of one: afterwards there is no reader.
void forget_reader();

#endif
