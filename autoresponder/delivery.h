#ifndef AUTORESPONDER_DELIVERY_H
#define AUTORESPONDER_DELIVERY_H

#include "autoresponder/incoming_message.h"
#include "autoresponder/rule.h"

/// Hands the response file to sendmail, from the mailbox to the incoming message's sender, and
/// removes it. A file above the mail server's size limit is replaced by a short notice first.
/// A failing sendmail goes unnoticed. A recipient that has no ASCII form ends the process as
/// `idn_toascii_string` does.
void deliver_reply(const ResponderRule& rule, const IncomingMessage& message);

#endif
