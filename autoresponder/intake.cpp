#include "autoresponder/intake.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/extraction.h"
#include "autoresponder/temporary_files.h"
#include "support/diagnose.h"
#include "support/owned.h"

namespace {

constexpr size_t kBlock = size_t{64} << 10;

// Waits for more and takes what there is of it, at most `room` bytes; 0 at the end.
size_t read_some(char* bytes, size_t room) {
  if (std::cin.peek() == std::char_traits<char>::eof()) return 0;
  const std::streamsize length = std::cin.readsome(bytes, static_cast<std::streamsize>(room));
  if (length > 0) return static_cast<size_t>(length);
  std::cin.get(*bytes);  // a stream without a buffer
  return 1;
}

// Fills the block from standard input; one that is not full is the last. Where standard input
// cannot be read, that is its end.
size_t read_block(char (&block)[kBlock]) {
  size_t length = 0;
  while (length < kBlock) {
    const size_t more = read_some(block + length, kBlock - length);
    if (more == 0) break;
    length += more;
  }
  return length;
}

// Copies standard input to the spool file and into `message_text`. Kept: both are the input and one
// newline, be there one at its end or not.
bool spool_standard_input(DwString& message_text) {
  const OwnedDescriptor descriptor(create_spool_file());
  if (!descriptor.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return false;
  }
  DwInitialize();
  std::ofstream spool(spool_file_path, std::ios::trunc);
  char block[kBlock];
  while (const size_t length = read_block(block)) {
    message_text.append(block, length);
    spool.write(block, static_cast<std::streamsize>(length));
  }
  message_text.append("\n", 1);
  spool << '\n';
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
  DwString message_text;
  if (!spool_standard_input(message_text)) return 1;
  const ExtractionResult result = extract(std::move(message_text), delivery_address(), record);
  return result.outcome == Extraction::kDone ? 0 : 1;
}
