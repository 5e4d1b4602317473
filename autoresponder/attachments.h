#ifndef AUTORESPONDER_ATTACHMENTS_H
#define AUTORESPONDER_ATTACHMENTS_H

#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/mailbox.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/rule.h"
#include "autoresponder/shell.h"

/// The attachments of a rule that fires.
struct Attachments {
  int count = 0;         ///< the files that exist
  ShellCommand command;  ///< appends them to the response file as MIME parts
  std::string missing;   ///< the names of those that do not, a newline behind each
};

/// Finds the rule's attachments in the mailbox's store and prepares the command that appends those
/// that exist; `boundary` separates the parts. The owner is notified about missing ones. A failing
/// query ends the run with its diagnostic and status 0.
Attachments collect_attachments(PanelDatabase& database, const ResponderRule& rule,
                                const MailboxRef& mailbox, const IncomingMessage& message,
                                const std::string& boundary);

/// Appends the attachments and the closing boundary to the response file; nothing where there are
/// none. Where a name holds a single quote none is appended.
void append_attachments(const Attachments& attachments, const std::string& boundary);

#endif
