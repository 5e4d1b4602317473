#pragma once

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"

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
  bool is_too_long = false;          ///< longer than the column; set with kLook or `long_senders`
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
/// `replies_today` and `senders`: as in `LimiterFacts`; the column `num` counts as "0" if it is
/// NULL. The limits are decimal texts; a text that is no number counts as 0.
LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const char* ans_freq, const char* mem_limit);

/// The error number with which a strict server refuses a sender that is longer than the column.
constexpr unsigned kDataTooLong = 1406;

/// The query for the senders to whom a rule replied today: the columns `email`, `num` and
/// `time_resp`, the earliest first.
std::string answered_today_query(const std::string& rule_id);

/// The query for what the rules did today, one row for each: mail name, domain, the rule's id, how
/// many senders and replies, how many senders got as many as the rule allows, and whether the rule
/// remembers as many as it may. Of all rules those that replied; with `mailbox_id`, a number, those
/// of the mailbox that replied or are on.
std::string replies_today_query(const std::string& mailbox_id);

/// Whether the limiter may write to its table.
enum class LimiterMode {
  kCount,  ///< count the reply, and delete rows of earlier days
  kLook,   ///< only read, and ignore rows of earlier days
};

/// Decides whether the rule may send the message's sender one more reply today, and with kCount
/// counts that reply.
///
/// A sender gets at most the rule's `ans_freq` replies per calendar day of the database server, and
/// a rule keeps about `mem_limit` rows: if there are that many, those with the oldest time stamp
/// are deleted before a new one is inserted. Both are decimal texts; a text that is no number
/// counts as 0. Throws `PanelFailure` if a statement fails.
///
/// Kept: without the repair `turns` concurrent runs may count two replies as one; with it each run
/// counts in a transaction that locks the rule's row, and repeats it after a conflict. Kept:
/// without the repair `long_senders` a sender that is longer than the column is stored cut and
/// never found again; with it the sender is cut for the lookup too.
LimiterFacts check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                                   const ResponderRule& rule, LimiterMode mode,
                                   const Switches& switches);
