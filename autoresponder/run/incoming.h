#ifndef AUTORESPONDER_RUN_INCOMING_H
#define AUTORESPONDER_RUN_INCOMING_H

#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/run/spool.h"

/// Reads the incoming message from standard input into `spool`, and fills `record` from it and from
/// the environment variable RECIPIENT; with courtesy on also from SENDER. Conversion problems are
/// reported and tolerated. Returns 0, or 1 after a failure that was reported on standard error; a
/// lack of memory is one.
int read_incoming_message(SpoolFile& spool, const Switches& switches, IncomingMessage& record);

/// The address that the mail server delivers to, from the environment variable RECIPIENT, whose
/// value is a prefix, "-" and the address; null if the variable is not set. NUL-terminated, valid
/// as long as the variable.
const char* delivery_address();

/// The envelope sender of the delivery, from the environment variable SENDER, empty for a null one;
/// nothing where the variable is not set.
std::optional<std::string> delivery_sender();

#endif
