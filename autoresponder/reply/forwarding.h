#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/shell.h"

/// The rows of a rule's forwarding addresses, each with one or more addresses; nothing for NULL.
/// Throws `PanelFailure` if the query fails.
std::vector<std::optional<std::string>> forwarding_rows(PanelDatabase& database,
                                                        const char* rule_id);

/// The forwarding addresses of a rule: a blank, then each row with a blank after it. Nothing if the
/// rule has no rows. Throws `PanelFailure` if the query fails.
std::optional<std::string> forwarding_addresses(PanelDatabase& database, const char* rule_id);

/// Splits `addresses`, a result of `forwarding_addresses`, at blanks and tabs. The result has views
/// into it.
std::vector<std::string_view> addresses_of(std::string_view addresses);

/// `addresses`, a result of `forwarding_addresses`, without those that sendmail would read as
/// options, which are reported on standard error. For the repair of options.
std::string without_options(const std::string& addresses);

/// The command that sends the spooled message, unchanged, to all forwarding addresses at once, with
/// the mailbox as envelope sender. `addresses`: the result of `forwarding_addresses`; `spool_path`:
/// the file with the message.
///
/// Kept: the addresses are not quoted, so that one row may hold several, separated by blanks. The
/// shell interprets them: who writes them into the database has to check them. The repair of
/// forwarding splits them at blanks and quotes each.
ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses,
                                const std::string& spool_path, const Repairs& repairs);
