#pragma once

#include <string>

/// Which header field names the sender.
enum class SenderField { kNone, kReplyTo, kFrom };

/// Whether a message can be handled.
enum class Extraction { kDone, kNoSender, kNoRecipient };

/// What an extraction tells besides the record.
struct ExtractionResult {
  Extraction outcome;
  SenderField sender_field;  ///< kNone if there is no sender
  std::string sender;        ///< the sender, if no recipient was found; otherwise see the record
};
