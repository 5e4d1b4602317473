#include "autoresponder/intake.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/extraction.h"
#include "autoresponder/temporary_files.h"
#include "support/diagnose.h"
#include "support/owned.h"

namespace {

// Copies standard input to the spool file and into `message_text`. Kept: the read that meets the
// end counts as a line too, so both are the input and one newline.
bool spool_standard_input(DwString& message_text) {
  const OwnedDescriptor descriptor(create_spool_file());
  if (!descriptor.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return false;
  }
  DwInitialize();
  std::ofstream spool(spool_file_path, std::ios::trunc);
  DwString line;
  do {
    getline(std::cin, line);
    message_text.append(line).append("\n", 1);
    spool << line << '\n';
  } while (std::cin.good());
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
