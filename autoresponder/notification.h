#ifndef AUTORESPONDER_NOTIFICATION_H
#define AUTORESPONDER_NOTIFICATION_H

#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"

/// Mails the client who owns the domain that the message was addressed to about files that are not
/// in the attachment store. Failures are reported on standard error and end nothing but this mail.
///
/// `reply_to`: the rule's, possibly empty. `missing`: the names, a newline behind each.
void notify_owner(PanelDatabase& database, const std::string& reply_to,
                  const IncomingMessage& message, const std::string& missing);

#endif
