// The parent's side: what the run calls.
#pragma once

#include <vector>

#include "autoresponder/confinement/confinement.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/reader/message_buffer.h"

/// Fills `record` from the message, in a child process that can do nothing else: it is another
/// user, has no file and no connection, and the kernel lets it do little but compute. The child
/// keeps the body (`record.body_lines`), and ends once the body was searched.
///
/// `message`: the whole message (RFC 5322), any bytes. `delivered_to`: the address of the delivery,
/// NUL-terminated; if it is null the first mailbox of To is the recipient. A message without a
/// sender or a recipient is reported on standard error and leaves the record as it was. Conversion
/// problems are reported and tolerated.
///
/// Throws `std::out_of_range` for a subject that makes the decoder throw it. Throws
/// `ReaderFailure`, as the body does later, if the child dies, takes too long or sends what the
/// intake cannot produce, or if there is no memory for its answers.
ExtractionResult read_message(MessageBuffer message, const char* delivered_to,
                              const Switches& switches, IncomingMessage& record);

/// The confinements that a reader should have and does not get on this system. Starts one to find
/// out; throws `ReaderFailure` if that fails.
std::vector<Confinement> missing_confinements();
