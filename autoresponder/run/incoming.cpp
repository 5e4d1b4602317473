#include "autoresponder/run/incoming.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "autoresponder/reader/reader.h"
#include "autoresponder/reader/reader_failure.h"
#include "support/base/text.h"

const char* delivery_address() {
  const char* const variable = getenv("RECIPIENT");
  if (variable == nullptr) return nullptr;
  // Kept: the address begins after the first "-", even if the prefix itself holds one.
  const char* const dash = strchr(variable, '-');
  return dash != nullptr ? dash + 1 : variable;
}

std::optional<std::string> delivery_sender() {
  const char* const variable = getenv("SENDER");
  if (variable == nullptr) return std::nullopt;
  return variable;
}

int read_incoming_message(SpoolFile& spool, const Switches& switches, IncomingMessage& record) {
  if (!spool.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return 1;
  }
  try {
    const auto result =
        read_message(spool_standard_input(spool), delivery_address(), switches, record);
    if (switches.courtesy) record.envelope_sender = delivery_sender();
    return result.outcome == Extraction::kDone ? 0 : 1;
  } catch (const ReaderFailure& failure) {
    diagnose({failure.what()});
  } catch (const std::bad_alloc&) {
    diagnose({ReaderFailure().what()});
  }
  return 1;
}
