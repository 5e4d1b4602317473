#pragma once

#include <cstdio>
#include <ext/stdio_filebuf.h>
#include <ostream>

#include "autoresponder/reply/shell.h"

/// Closes a pipe from `popen` and waits for its command.
struct PipeCloseStrategy {
  static void Close(FILE* handle) { pclose(handle); }
};

/// The mode of a stream that is written to.
class OutputStreamStrategy {
 protected:
  std::ios_base::openmode mode_ = std::ios_base::out;
};

/// The buffer between a stream and its handle, which it does not own. Unflushed output is
/// discarded: the handle is closed before the buffer is destroyed.
class HandleBuffer : public __gnu_cxx::stdio_filebuf<char> {
 public:
  static constexpr size_t kSize = 1024;

  HandleBuffer(FILE* handle, std::ios_base::openmode mode)
      : stdio_filebuf<char>(handle, mode, kSize) {}
  ~HandleBuffer() override { setp(nullptr, nullptr); }
};

/// A stream that owns its `FILE*`. With a null handle the stream is in the state `fail()`.
template <class CloseStrategy, class StreamStrategy>
class basic_handlestream : public std::ostream, private StreamStrategy {
 public:
  explicit basic_handlestream(FILE* handle)
      : std::ostream(nullptr), handle_(handle), buffer_(handle, this->mode_) {
    init(&buffer_);
    if (handle_ == nullptr) setstate(failbit);
  }
  ~basic_handlestream() override {
    if (handle_ != nullptr) CloseStrategy::Close(handle_);
  }
  basic_handlestream(const basic_handlestream&) = delete;
  basic_handlestream& operator=(const basic_handlestream&) = delete;

 private:
  FILE* handle_;
  HandleBuffer buffer_;
};

/// A stream into the standard input of a shell command. Only flushed output reaches the command.
/// The destructor waits for the command's end.
class opipestream : public basic_handlestream<PipeCloseStrategy, OutputStreamStrategy> {
 public:
  /// Starts `command`, which is for kNotify. If that fails, `fail()` is true.
  explicit opipestream(const ShellCommand& command) : opipestream(hand_to_shell(command)) {}

  /// Whether the command was refused because of a value in it; that has been reported.
  bool refused() const { return refused_; }

 private:
  explicit opipestream(const ShellOutcome& outcome)
      : basic_handlestream(outcome.pipe), refused_(outcome.refused) {}

  bool refused_;
};
