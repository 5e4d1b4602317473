#include "autoresponder/run/spool.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr size_t kBlock = size_t{64} << 10;

// Reads up to kBlock bytes, and waits for the first; 0 at the end and after an error. Standard
// input may be non-blocking.
size_t read_block(char* block) {
  for (;;) {
    const ssize_t length = read(STDIN_FILENO, block, kBlock);
    if (length >= 0) return static_cast<size_t>(length);
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (errno == EAGAIN) poll(&input, 1, -1);  // may fail with another error
    if (errno != EINTR && errno != EAGAIN) return 0;
  }
}

}  // namespace

void SpoolFile::Write(const char* bytes, size_t length) {
  while (!failed_ && length > 0) {
    const ssize_t written = TEMP_FAILURE_RETRY(write(descriptor_.number(), bytes, length));
    failed_ = written <= 0;
    if (failed_) return;
    bytes += written;
    length -= static_cast<size_t>(written);
  }
}

MessageBuffer spool_standard_input(SpoolFile& spool) {
  MessageBuffer message;
  char* block = message.RoomFor(kBlock);
  while (const size_t length = read_block(block)) {
    spool.Write(block, length);
    message.Add(length);
    block = message.RoomFor(kBlock);
  }
  block[0] = '\n';
  spool.Write(block, 1);
  message.Add(1);
  return message;
}
