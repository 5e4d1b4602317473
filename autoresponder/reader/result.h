// The wire between child and parent: the result.
#pragma once

#include <cstddef>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/reader/transfer.h"

/// Sends the result of an extraction. The texts of `record` are lost.
void send_result(Sender& sender, const ExtractionResult& result, IncomingMessage& record);

/// Tells the parent that the extraction threw `std::out_of_range`; `receive_result` throws it
/// again. `what`: its text.
void send_abort(Sender& sender, const std::string& what);

/// What the parent knows of the message without reading it.
struct Assignment {
  size_t message_size;       ///< bytes
  const char* delivered_to;  ///< the address of the delivery, NUL-terminated; null if there is none
  Switches switches;
};

/// Receives what `send_result` or `send_abort` sent, and fills `record` except for its body. Writes
/// the diagnostics that come first to standard error. The recipient is `delivered_to` if there is
/// one, whatever the child sent. Throws `std::out_of_range` if the extraction did, and
/// `ReaderFailure` for anything that no extraction of a message of this size gives.
ExtractionResult receive_result(Receiver& receiver, const Assignment& assignment,
                                IncomingMessage& record);
