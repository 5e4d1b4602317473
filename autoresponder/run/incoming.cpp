#include "autoresponder/run/incoming.h"

#include <cstdlib>
#include <cstring>

#include <mimelib/mimepp.h>

#include "autoresponder/intake/extraction.h"
#include "support/base/diagnose.h"

std::optional<std::string> delivery_address() {
  const char* const variable = getenv("RECIPIENT");
  if (variable == nullptr) return std::nullopt;
  // Kept: only the first "-" counts, even where the prefix itself holds one.
  const char* const dash = strchr(variable, '-');
  return dash != nullptr ? dash + 1 : variable;
}

int read_incoming_message(SpoolFile& spool, const Switches& switches, IncomingMessage& record) {
  if (!spool.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return 1;
  }
  DwInitialize();
  MessageBuffer message = spool_standard_input(spool);
  const ExtractionResult result =
      extract(message.Take<DwString>(), delivery_address(), switches, record);
  return result.outcome == Extraction::kDone ? 0 : 1;
}
