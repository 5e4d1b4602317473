#include "autoresponder/intake.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/extraction.h"
#include "autoresponder/message_buffer.h"
#include "autoresponder/temporary_files.h"
#include "support/base/diagnose.h"
#include "support/base/owned.h"

namespace {

constexpr size_t kBlock = size_t{64} << 10;

// Waits for more and takes what there is of it, at most a block; 0 at the end. Where standard input
// cannot be read, that is its end.
size_t read_block(char* block) {
  ssize_t length = 0;
  do {
    length = read(STDIN_FILENO, block, kBlock);
  } while (length < 0 && errno == EINTR);
  return length > 0 ? static_cast<size_t>(length) : 0;
}

// The copy of the message. Once something of it could not be written, no more is.
class Spool {
 public:
  Spool() : file_(open(spool_file_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {}

  void Write(const char* bytes, size_t length) {
    while (!failed_ && length > 0) {
      const ssize_t written = write(file_.number(), bytes, length);
      if (written < 0 && errno == EINTR) continue;
      failed_ = written <= 0;
      if (failed_) return;
      bytes += written;
      length -= static_cast<size_t>(written);
    }
  }

 private:
  OwnedDescriptor file_;
  bool failed_ = !file_.IsOpen();
};

// Copies standard input to the spool file and into `message`. Kept: both are the input and one
// newline, be there one at its end or not.
bool spool_standard_input(MessageBuffer& message) {
  const OwnedDescriptor descriptor(create_spool_file());
  if (!descriptor.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return false;
  }
  DwInitialize();
  Spool spool;
  char* block = message.RoomFor(kBlock);
  while (const size_t length = read_block(block)) {
    spool.Write(block, length);
    message.Add(length);
    block = message.RoomFor(kBlock);
  }
  block[0] = '\n';
  spool.Write(block, 1);
  message.Add(1);
  return true;
}

}  // namespace

std::optional<std::string> delivery_address() {
  const char* const variable = getenv("RECIPIENT");
  if (variable == nullptr) return std::nullopt;
  // Kept: only the first "-" counts, even where the prefix itself holds one.
  const char* const dash = strchr(variable, '-');
  return dash != nullptr ? dash + 1 : variable;
}

int read_incoming_message(IncomingMessage& record) {
  MessageBuffer message;
  if (!spool_standard_input(message)) return 1;
  const ExtractionResult result = extract(message.Take<DwString>(), delivery_address(), record);
  return result.outcome == Extraction::kDone ? 0 : 1;
}
