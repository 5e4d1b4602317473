#pragma once

#include <optional>
#include <string>

#include <mimelib/mimepp.h>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"

/// Fills `record` from the message.
///
/// `message_text`: the whole message (RFC 5322), any bytes; move it in, so that it is freed as soon
/// as it is not needed. `delivered_to`: the address of the delivery, used unchanged; without one
/// the first mailbox of To is the recipient. A message without a sender or a recipient is reported
/// on standard error and leaves the record as it was. Conversion problems are reported and
/// tolerated. Without the repair `subject` a subject that breaks its decoder throws
/// `std::out_of_range`; with it such a subject counts as one that cannot be converted.
/// `record.courtesy` is filled only if courtesy is on.
ExtractionResult extract(DwString message_text, const std::optional<std::string>& delivered_to,
                         const Switches& switches, IncomingMessage& record);
