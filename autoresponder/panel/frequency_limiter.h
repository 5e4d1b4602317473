#ifndef AUTORESPONDER_PANEL_FREQUENCY_LIMITER_H
#define AUTORESPONDER_PANEL_FREQUENCY_LIMITER_H

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// What the limiter does for a sender.
enum class LimiterStep {
  kRefuse,            ///< no reply: the sender got as many today as the rule allows
  kCountUp,           ///< reply, and count it in the sender's row
  kRemember,          ///< reply, and insert a row for the new sender
  kEvictAndRemember,  ///< reply, and insert a row after deleting those with the oldest time stamp
};

/// What the limiter found in its table before it changed anything, and what it does.
struct LimiterFacts {
  int senders = 0;                           ///< how many rows the rule has
  std::optional<std::string> replies_today;  ///< to this sender, in decimal; nothing without a row
  std::optional<LimiterStep> step;           ///< nothing for a rule that never replies
  std::vector<std::string> evicted;  ///< with kLook: the senders whose rows would be deleted
};

/// Whether the sender gets a reply.
inline bool allows_reply(const LimiterFacts& facts) {
  return facts.step && *facts.step != LimiterStep::kRefuse;
}

/// Whether a rule with this number of replies a day (decimal text) never replies.
bool never_replies(const char* ans_freq);

/// Decides what the limiter does for a sender. Not for rules that never reply.
///
/// `replies_today`: the column `num` of the sender's row, "0" where it is NULL; nothing for a
/// sender without a row. `senders`: how many rows the rule has. The limits are decimal texts; a
/// text that is no number counts as 0.
LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const char* ans_freq, const char* mem_limit);

/// The query for the senders whom a rule has answered today: the columns `email`, `num` and
/// `time_resp`, the earliest first.
std::string answered_today_query(const std::string& rule_id);

/// Whether the limiter may write to its table.
enum class LimiterMode {
  kCount,  ///< count the reply, and delete rows of earlier days
  kLook,   ///< only read, and ignore rows of earlier days
};

/// Decides whether the rule may send the message's sender one more reply today, and with kCount
/// counts that reply.
///
/// A sender gets at most `ans_freq` replies per calendar day of the database server, and a rule
/// keeps about `mem_limit` rows: if there are that many, those with the oldest time stamp are
/// deleted before a new one is inserted. Both are decimal texts; a text that is no number counts as
/// 0. Throws `PanelFailure` if a statement fails. Runs at the same time may count two replies as
/// one.
LimiterFacts consult_limiter(PanelDatabase& database, const IncomingMessage& message,
                             const std::string& rule_id, const char* ans_freq,
                             const char* mem_limit, LimiterMode mode);

/// Whether the rule may send the message's sender one more reply today; if so, the reply has been
/// counted. Parameters and failures as in `consult_limiter`.
bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const char* ans_freq, const char* mem_limit);

#endif
