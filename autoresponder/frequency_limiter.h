#ifndef AUTORESPONDER_FREQUENCY_LIMITER_H
#define AUTORESPONDER_FREQUENCY_LIMITER_H

#include <optional>
#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"

/// What the limiter does about a sender.
enum class LimiterStep {
  kRefuse,            ///< he was answered often enough today
  kCountUp,           ///< he was answered today, and is once more
  kRemember,          ///< he is new, and is answered
  kEvictAndRemember,  ///< the same, and the oldest of the others are forgotten first
};

/// Whether a rule with this number of replies a day (decimal text) never replies.
bool never_replies(const std::string& ans_freq);

/// What to do about a sender, for a rule that does reply.
///
/// `replies_today`: the column `num` of the sender's row, "0" where it is NULL; nothing for a
/// sender without a row. `senders`: how many the rule remembers. The limits are decimal texts; what
/// is no number counts as 0.
LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const std::string& ans_freq, const std::string& mem_limit);

/// What the limiter reads. `further` is one more condition on the rows, with " and " in front, or
/// empty. A failing query stops the engine.

/// How many senders the rule remembers.
int remembered_senders(PanelDatabase& database, const std::string& rule_id,
                       const std::string& further);

/// The column `num` of a sender in the first of his rows, "0" where it is NULL; nothing
/// for a sender without a row.
std::optional<std::string> replies_today(PanelDatabase& database, const std::string& rule_id,
                                         const EscapedText& sender, const std::string& further);

/// The rule's oldest time stamp: "0" where it is NULL, empty where there is none.
std::string oldest_time(PanelDatabase& database, const std::string& rule_id,
                        const std::string& further);

/// The condition of a row of an earlier day, by the clock of the database server.
constexpr const char* kOfEarlierDay = "(TO_DAYS(NOW())-TO_DAYS(time_resp))>0";

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
