#ifndef AUTORESPONDER_INTAKE_H
#define AUTORESPONDER_INTAKE_H

#include <optional>
#include <string>

#include "autoresponder/incoming_message.h"

/// Reads the incoming message from standard input, keeps a copy of it in the spool file, and fills
/// `record` from it and from the environment variable RECIPIENT.
///
/// The spool file gets the input with one newline added at its end. Conversion problems are
/// reported and tolerated. Returns 0, or 1 after a failure that was reported on standard error.
int read_incoming_message(IncomingMessage& record);

/// The address that the mail server delivers to, from the environment variable RECIPIENT, whose
/// value is a prefix, "-" and the address; nothing where the variable is not set.
std::optional<std::string> delivery_address();

#endif
