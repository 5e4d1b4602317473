#ifndef AUTORESPONDER_REPLY_PIPE_STREAM_H
#define AUTORESPONDER_REPLY_PIPE_STREAM_H

#include <cstdio>
#include <ext/stdio_filebuf.h>
#include <ostream>

#include "autoresponder/reply/shell.h"

/// Closes the handle of a pipe, which waits for the command at its other end.
struct PipeCloseStrategy {
  static void Close(FILE* handle) { pclose(handle); }
};

/// The direction of a stream that is written.
class OutputStreamStrategy {
 protected:
  std::ios_base::openmode mode_ = std::ios_base::out;
};

/// The buffer between a stream and its handle, which it does not own. What it still holds when it
/// is destroyed is lost: by then the handle is closed.
class HandleBuffer : public __gnu_cxx::stdio_filebuf<char> {
 public:
  static constexpr size_t kSize = 1024;

  HandleBuffer(FILE* handle, std::ios_base::openmode mode)
      : stdio_filebuf<char>(handle, mode, kSize) {}
  ~HandleBuffer() override { setp(nullptr, nullptr); }
};

/// A stream on a `FILE*` that it owns. A null handle makes a stream that has failed.
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

/// Writes into the standard input of a shell command. End each line with `std::endl`: only what was
/// flushed reaches the command. Destroying the stream waits for the command's end.
class opipestream : public basic_handlestream<PipeCloseStrategy, OutputStreamStrategy> {
 public:
  /// Starts `command`. The stream has failed when there is no pipe to it.
  explicit opipestream(const ShellCommand& command);

  /// Whether the command was refused, which has been reported.
  bool refused() const { return refused_; }

 private:
  explicit opipestream(ShellOutcome outcome);

  bool refused_;
};

#endif
