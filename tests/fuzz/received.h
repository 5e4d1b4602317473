#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "../transferred_bytes.h"
#include "autoresponder/message/well_formed.h"
#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/reader/transfer.h"
#include "field_text.h"
#include "fuzz.h"

/// What the run reads from these bytes of a reader; nothing if it refuses them.
inline std::optional<ExtractionResult> received(std::string_view bytes,
                                                const Assignment& assignment,
                                                IncomingMessage& record) {
  Receiver receiver(source_of(std::string(bytes)));
  try {
    return receive_result(receiver, assignment, record);
  } catch (const ReaderFailure&) {
  } catch (const std::out_of_range&) {
  }
  return std::nullopt;
}

/// Requires that a record that the run accepted is one that the intake can give: no text ends
/// early, and no address ends its header field.
inline void check_received(const IncomingMessage& record, size_t message_size) {
  require(is_well_formed(record, message_size), "the record is well-formed");
  for (const std::string* text : {&record.sender, &record.date, &record.charset}) {
    require(text->find('\0') == std::string::npos, "a text has no NUL");
  }
  require(stays_in_its_field(record.sender), "the sender stays in its field");
}
