#ifndef AUTORESPONDER_FORWARDING_H
#define AUTORESPONDER_FORWARDING_H

#include <optional>
#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/shell.h"

/// The forwarding addresses of a rule, each with a blank behind it and one in front of all; nothing
/// where it has no rows. A failing query stops the engine.
std::optional<std::string> forwarding_addresses(PanelDatabase& database,
                                                const std::string& rule_id);

/// The command that sends the spooled message to `addresses`, which are as above.
ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses);

/// Sends the spooled message, unchanged, to all forwarding addresses of the rule at once, with the
/// mailbox as envelope sender. Does nothing for a rule without any. A failing query ends the run
/// with its diagnostic and status 0; a failing sendmail goes unnoticed.
///
/// The addresses stand bare on the command line (kept: one may hold several, split at blanks), so
/// whoever writes them into the database must check them.
void forward_message(PanelDatabase& database, const IncomingMessage& message,
                     const std::string& rule_id);

#endif
