#ifndef AUTORESPONDER_ENGINE_RESPONDER_H
#define AUTORESPONDER_ENGINE_RESPONDER_H

#include <optional>
#include <vector>

#include "autoresponder/engine/answer.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"

/// The mailbox of a message's recipient, and its rules.
struct MailboxRules {
  std::optional<FoundMailbox> mailbox;  ///< nothing if there is none
  std::optional<Rows> rows;             ///< own the texts that the rules point to
  std::vector<ResponderRule> rules;
  std::vector<TriggerMatch> triggers;  ///< one for each rule
};

/// Finds the mailbox and its rules, and looks for their triggers in the message. Fills `found`,
/// also as far as it comes if a failing query throws `PanelFailure`. `recipient`: escaped.
void find_rules(PanelDatabase& database, const IncomingMessage& message, EscapedRecipient recipient,
                MailboxRules& found);

/// Finds the recipient's mailbox and answers the message by each of its rules that fires. Returns
/// after the last rule, or after reporting on standard error that there is no such mailbox. What
/// keeps a reply from being sent is reported too. Throws `PanelFailure` if a query fails or the
/// panel cannot be reached.
void run_responder(const Delivery& delivery, Effects& effects);

#endif
