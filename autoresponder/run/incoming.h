#pragma once

#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/run/spool.h"

/// Reads the incoming message from standard input into `spool`, and fills `record` from it and from
/// the environment variable RECIPIENT; with courtesy on also from SENDER. Conversion problems are
/// reported and tolerated. Returns 0, or 1 after reporting a failure (also a lack of memory) on
/// standard error. Throws `std::out_of_range` for a subject that makes the decoder throw it.
int read_incoming_message(SpoolFile& spool, const Switches& switches, IncomingMessage& record);

/// The address that the mail server delivers to: what follows the first "-" of the environment
/// variable RECIPIENT, or all of it without a "-"; null if it is not set. NUL-terminated, valid as
/// long as the variable.
const char* delivery_address();

/// The envelope sender: the environment variable SENDER, empty for a null sender; nothing if it is
/// not set.
std::optional<std::string> delivery_sender();
