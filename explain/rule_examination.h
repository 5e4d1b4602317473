#pragma once

#include "autoresponder/panel/panel_database.h"
#include "explain/explanation.h"

/// Whether a statement failed at the server. A server error would hit the run too; a client error
/// (such as a lost connection) tells nothing about it.
bool is_refusal(const PanelFailure& failure);

/// Fills `facts`, which already holds the rule and its trigger, with what the run would do for it.
/// `explanation` already holds the mailbox, the message and the switches. `whole_reply`: whether to
/// keep the reply's whole text too. Throws `PanelFailure` if the connection fails.
///
/// Call it for all rules of the mailbox in their order: each reply takes its boundary from the
/// run's sequence of random numbers.
void examine_rule(PanelDatabase& database, const Explanation& explanation, bool whole_reply,
                  RuleExplanation& facts);
