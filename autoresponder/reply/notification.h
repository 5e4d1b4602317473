#ifndef AUTORESPONDER_REPLY_NOTIFICATION_H
#define AUTORESPONDER_REPLY_NOTIFICATION_H

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/shell.h"

/// Who tells whom about missing files.
struct Notification {
  std::string sender;
  std::string owner_email;  ///< never empty
  std::string owner_name;
};

/// The notification of the client who owns the domain that the message was addressed to. Nothing
/// where the owner is unknown, which is reported on standard error, or has no e-mail address.
std::optional<Notification> address_notification(PanelDatabase& database,
                                                 const IncomingMessage& message);

/// The command that mails it.
ShellCommand notification_command(const Notification& notification);

/// Mails the client who owns the domain that the message was addressed to about files that are not
/// in the attachment store. Failures are reported on standard error and end nothing but this mail.
///
/// `reply_to`: the rule's, possibly empty. `missing`: the names.
void send_notification(const Notification& notification, const char* reply_to,
                       const IncomingMessage& message, const std::vector<std::string>& missing);

#endif
