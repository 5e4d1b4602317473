// The child's side: takes the message and answers the parent.
#pragma once

#include "autoresponder/message/switches.h"
#include "autoresponder/reader/message_buffer.h"

/// What the child does: extracts the message, sends diagnostics and the result into `channel`, a
/// descriptor, and then, if the message can be answered, finds the lines of the body with the keys
/// that the parent asks for. `has_delivery`: whether the parent knows the address of the delivery.
/// Returns if there is nothing to search or sending failed; throws `ReaderFailure` when the parent
/// hangs up.
void read_for_parent(int channel, MessageBuffer& message, bool has_delivery,
                     const Switches& switches);
