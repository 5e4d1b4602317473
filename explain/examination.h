#pragma once

#include "autoresponder/panel/panel_database.h"
#include "explain/explanation.h"
#include "explain/options.h"

/// Fills `explanation` with what a run would do with the message that `options` name, as far as
/// that can be found out. Only reads the message, the configuration and the database; writes
/// diagnostics to standard error. A fatal error in the panel's library ends the process.
void examine(const Options& options, Explanation& explanation);

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
