#ifndef AUTORESPONDER_FREQUENCY_LIMITER_H
#define AUTORESPONDER_FREQUENCY_LIMITER_H

#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"

/// Whether the rule may answer the message's sender once more today. Where it may, the answer has
/// been counted.
///
/// A sender gets at most `ans_freq` replies per calendar day of the database server, and a rule
/// remembers about `mem_limit` senders: when there are that many, a new one drives out those with
/// the oldest time stamp. Both are decimal texts; what is no number counts as 0. A failing
/// statement ends the run with its diagnostic and status 0. Runs that overlap may both count the
/// same number.
bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const std::string& ans_freq,
                           const std::string& mem_limit);

#endif
