#include "autoresponder/run/incoming.h"

#include <cstdlib>
#include <cstring>

#include "autoresponder/reader/reader.h"
#include "autoresponder/reader/reader_failure.h"
#include "support/base/diagnose.h"

std::optional<std::string> delivery_address() {
  const char* const variable = getenv("RECIPIENT");
  if (variable == nullptr) return std::nullopt;
  // Kept: only the first "-" counts, even where the prefix itself holds one.
  const char* const dash = strchr(variable, '-');
  return dash != nullptr ? dash + 1 : variable;
}

int read_incoming_message(SpoolFile& spool, IncomingMessage& record) {
  if (!spool.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return 1;
  }
  try {
    const auto result = read_message(spool_standard_input(spool), delivery_address(), record);
    return result.outcome == Extraction::kDone ? 0 : 1;
  } catch (const ReaderFailure& failure) {
    diagnose({failure.what()});
    return 1;
  }
}
