#ifndef AUTORESPONDER_PANEL_FREQUENCY_LIMITER_H
#define AUTORESPONDER_PANEL_FREQUENCY_LIMITER_H

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// What the limiter does about a sender.
enum class LimiterStep {
  kRefuse,            ///< was answered often enough today
  kCountUp,           ///< was answered today, and is once more
  kRemember,          ///< is new, and is answered
  kEvictAndRemember,  ///< is new; the senders with the oldest time stamp are forgotten first
};

/// What the limiter found before it did anything, and what it does.
struct LimiterFacts {
  int senders = 0;  ///< whom the rule remembers
  std::optional<std::string>
      replies_today;                 ///< to this sender, in decimal; nothing where it is new
  std::optional<LimiterStep> step;   ///< nothing for a rule that never replies
  std::vector<std::string> evicted;  ///< the senders that are forgotten, where that was asked
};

/// Whether the sender is answered.
inline bool allows_reply(const LimiterFacts& facts) {
  return facts.step && *facts.step != LimiterStep::kRefuse;
}

/// Whether a rule with this number of replies a day (decimal text) never replies.
bool never_replies(const char* ans_freq);

/// What to do about a sender, for a rule that does reply.
///
/// `replies_today`: the column `num` of the sender's row, "0" where it is NULL; nothing for a
/// sender without a row. `senders`: how many the rule remembers. The limits are decimal texts; what
/// is no number counts as 0.
LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const char* ans_freq, const char* mem_limit);

/// Whether to count the answer.
enum class LimiterMode {
  kCount,  ///< yes, and forget what is of earlier days
  kLook,   ///< no: nothing is written, and rows of earlier days are passed over
};

/// Whether the rule may answer the message's sender once more today.
///
/// A sender gets at most `ans_freq` replies per calendar day of the database server, and a rule
/// remembers about `mem_limit` senders: when there are that many, a new one drives out those with
/// the oldest time stamp. Both are decimal texts; what is no number counts as 0. A failing
/// statement throws `PanelFailure`. Runs that overlap may both count the same number.
LimiterFacts consult_limiter(PanelDatabase& database, const IncomingMessage& message,
                             const std::string& rule_id, const char* ans_freq,
                             const char* mem_limit, LimiterMode mode);

/// Whether it may; where it may, the answer has been counted.
bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const char* ans_freq, const char* mem_limit);

#endif
