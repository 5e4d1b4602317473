#pragma once

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/shell.h"

/// The sender and the recipient of a mail about missing files.
struct Notification {
  std::string sender;
  std::string owner_email;  ///< never empty
  std::string owner_name;
};

/// Addresses a notification to the owner of the recipient's domain. Returns nothing if the owner
/// has no e-mail address; also, after a report on standard error, if the owner cannot be found.
std::optional<Notification> address_notification(PanelDatabase& database,
                                                 const IncomingMessage& message);

/// The command that sends the notification about files that are missing in the attachment store; it
/// reads the mail from its standard input.
///
/// `reply_to`: the rule's, may be empty. `missing`: the names of the files.
ShellCommand notification_command(const Notification& notification, const char* reply_to,
                                  const IncomingMessage& message,
                                  const std::vector<std::string>& missing,
                                  const Switches& switches);

/// Runs a `notification_command`. Reports on standard error if it is refused or cannot be started.
void send_notification(const ShellCommand& command);
