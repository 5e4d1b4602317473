#pragma once

#include <optional>
#include <vector>

#include "autoresponder/engine/answer.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"

/// The mailbox of a message's recipient, and its rules.
struct MailboxRules {
  std::optional<FoundMailbox> mailbox;  ///< nothing if there is none
  std::optional<Rows> rows;             ///< own the texts of `rules`
  std::vector<ResponderRule> rules;
  std::vector<TriggerMatch> triggers;  ///< one for each rule
};

/// Finds the mailbox and its rules, and looks for their triggers in the message. Fills `found` step
/// by step, so that it is usable even after a `PanelFailure` (a query failed) or a `ReaderFailure`
/// (the body cannot be read). `recipient`: the message's.
void find_rules(PanelDatabase& database, const IncomingMessage& message, EscapedRecipient recipient,
                const Repairs& repairs, MailboxRules& found);

/// Finds the recipient's mailbox and answers the message by each of its rules that fires. Reports
/// on standard error that there is no such mailbox, or why a reply is not sent. Throws
/// `PanelFailure` if a query fails or the panel cannot be reached, and `ReaderFailure` if the body
/// cannot be read. `connect`: as for `PanelDatabase`.
void run_responder(const Delivery& delivery, Effects& effects, MYSQL* (*connect)() = db_connect);
