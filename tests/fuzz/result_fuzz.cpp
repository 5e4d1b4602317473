// Reads the answer of a reader that an intruder controls.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "../memory_file.h"
#include "received.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  IncomingMessage record;
  const CapturedDiagnostics diagnostics;
  const std::optional<ExtractionResult> result = received(bytes, {size, nullptr, {}}, record);
  if (!result) return 0;
  if (result->outcome == Extraction::kDone) check_received(record, size);
  require(stays_in_its_field(record.recipient), "the recipient stays in its field");
  require(stays_in_its_field(result->sender), "the sender stays in its field");
  return 0;
}
