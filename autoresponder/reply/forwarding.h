#ifndef AUTORESPONDER_REPLY_FORWARDING_H
#define AUTORESPONDER_REPLY_FORWARDING_H

#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/shell.h"

/// The forwarding addresses of a rule, each with a blank after it and one before all; nothing where
/// it has no rows. A failing query throws `PanelFailure`.
std::optional<std::string> forwarding_addresses(PanelDatabase& database, const char* rule_id);

/// The command that sends the spooled message, unchanged, to all forwarding addresses at once, with
/// the mailbox as envelope sender. `addresses`: as above; `spool_path`: the file with the message.
///
/// The addresses are bare on the command line (kept: one may hold several, split at blanks), so
/// whoever writes them into the database must check them.
ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses,
                                const std::string& spool_path);

#endif
