#ifndef AUTORESPONDER_READER_READER_PROCESS_H
#define AUTORESPONDER_READER_READER_PROCESS_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <sys/types.h>
#include <vector>

#include "autoresponder/reader/confinement.h"
#include "support/base/owned.h"

/// A confined child process, and the only way to talk with it. Whoever talks with it has to reckon
/// with a process that was taken over: every call throws `ReaderFailure` where it ended, or did not
/// do its part before the deadline. There is at most one at a time.
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

  /// From now on all calls together may take this long.
  void Allow(Time time) { deadline_ = std::chrono::steady_clock::now() + time; }

  void Send(const char* bytes, size_t length);
  void Receive(char* bytes, size_t length);

  /// Hangs up. A process that does its part ends then, while we go on.
  void HangUp() { socket_ = OwnedDescriptor(-1); }
  /// Ends the process, whatever it is doing, and waits for its end.
  void End();

 private:
  void Await(short event) const;
  size_t ReceiveSome(char* bytes, size_t length) const;

  OwnedDescriptor socket_;
  std::chrono::steady_clock::time_point deadline_{};
  // Bytes that arrived together with those that were asked for.
  std::vector<char> ahead_;
  size_t ahead_used_ = 0;
};

/// Ends the reader, if there is one. Safe to call in a signal handler.
void end_reader();

/// The same outside of one: afterwards there is no reader.
void forget_reader();

#endif
