#ifndef EXPLAIN_RULE_EXAMINATION_H
#define EXPLAIN_RULE_EXAMINATION_H

#include "autoresponder/panel/panel_database.h"
#include "explain/explanation.h"

/// Whether the server refused a statement, as it would refuse it to the run. Otherwise the server
/// could not be asked, which tells nothing about the run.
bool is_refusal(const PanelFailure& failure);

/// Fills `facts`, which holds the rule, with what the run would do for it, step by step and as far
/// as it would come; `whole_reply`: with all of the reply's text. Draws the reply's boundary as the
/// run would, so that every rule must be examined, in the run's order.
void examine_rule(PanelDatabase& database, const MailboxRef& mailbox,
                  const IncomingMessage& message, bool whole_reply, RuleExplanation& facts);

#endif
