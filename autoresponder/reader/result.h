#ifndef AUTORESPONDER_READER_RESULT_H
#define AUTORESPONDER_READER_RESULT_H

#include <cstddef>
#include <string>

#include "autoresponder/message/extraction_result.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/reader/transfer.h"

/// Sends the result of an extraction; the texts of `record` are gone afterwards.
void send_result(Sender& sender, const ExtractionResult& result, IncomingMessage& record);

/// Tells the run that the extraction threw what ends a run. `what`: its text.
void send_abort(Sender& sender, const std::string& what);

/// What the run knows of the message without reading it.
struct Assignment {
  size_t message_size;       ///< bytes
  const char* delivered_to;  ///< the address of the delivery, NUL-terminated; null if there is none
  Switches switches;
};

/// Takes over what one of the two above sent, and fills `record` from it but for its body. Writes
/// the diagnostics that precede it to standard error. The address of the delivery counts as the
/// recipient whatever the reader says. Throws `std::out_of_range` if the extraction did, and
/// `ReaderFailure` for anything that no extraction of a message of this size gives.
ExtractionResult receive_result(Receiver& receiver, const Assignment& assignment,
                                IncomingMessage& record);

#endif
