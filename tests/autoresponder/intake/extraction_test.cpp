#include "autoresponder/intake/extraction.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "../../differential/recorded_messages.h"
#include "../../dw_text.h"
#include "../../memory_file.h"
#include "autoresponder/message/well_formed.h"

namespace {

// The run accepts only well-formed records from the reader.
TEST(Extraction, GivesAWellFormedRecordOfEachRecordedMessage) {
  const CapturedDiagnostics diagnostics;
  size_t records = 0;
  for (const std::string& message : recorded_messages()) {
    const std::string text = message + "\n";
    IncomingMessage record;
    try {
      const auto result =
          extract(string_of(text), std::nullopt, {all_repairs(false), true}, record);
      if (result.outcome != Extraction::kDone) continue;
    } catch (const std::out_of_range&) {
      continue;
    }
    ++records;
    EXPECT_TRUE(is_well_formed(record, text.size())) << text;
    EXPECT_TRUE(is_mailbox_address(record.recipient)) << text;
  }
  EXPECT_GT(records, 400U);
}

}  // namespace
