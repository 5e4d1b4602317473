#ifndef AUTORESPONDER_READER_RESULT_H
#define AUTORESPONDER_READER_RESULT_H

#include <cstdint>
#include <optional>
#include <string>

#include "autoresponder/message/extraction_result.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/reader/transfer.h"

/// Hands the result of an extraction over; the texts of `record` are gone afterwards.
void send_result(Sender& sender, const ExtractionResult& result, IncomingMessage& record);

/// Hands over that the extraction ended by an exception that ends the run, too. `what`: its text.
void send_abort(Sender& sender, const std::string& what);

/// Takes over what one of the two above handed over, and fills `record` from it but for its body.
/// `delivered_to`: the address of the delivery, which counts as the recipient whatever the reader
/// says. Throws `std::out_of_range` where the extraction did, and `ReaderFailure` for anything that
/// no extraction gives.
ExtractionResult receive_result(Receiver& receiver, const std::optional<std::string>& delivered_to,
                                IncomingMessage& record);

/// How many bytes the texts of the result of a message of `message_size` bytes may have together.
uint64_t most_of_result(size_t message_size);

#endif
