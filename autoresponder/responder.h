#ifndef AUTORESPONDER_RESPONDER_H
#define AUTORESPONDER_RESPONDER_H

#include "autoresponder/incoming_message.h"

/// Finds the recipient's mailbox and lets each of its rules that fires, and that the frequency
/// limiter lets through, forward the message and reply. Returns when every rule was handled; a
/// failure that stops the engine is reported and ends the run with status 0.
void run_responder(const IncomingMessage& message);

#endif
