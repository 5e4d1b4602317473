#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"

/// Whether qmail's `qmail-inject` can parse the text as the body of an address field (RFC
/// 5322, 3.4, with its obsolete forms): every quote, comment, literal, angle bracket and group has
/// its end. It does not send a message with another one in Reply-To or From.
bool can_be_parsed(std::string_view addresses);

/// One autoresponder rule: NUL-terminated texts, or the defaults below for columns that are NULL.
/// Views into the row, valid as long as the rows, so that rules that do not fire are skipped
/// without copying. Numbers are kept as texts, and read by `atoi` where they are used.
struct ResponderRule {
  const char* id = "0";
  const char* keystr = "";                  ///< the trigger
  const char* key_where = "no";             ///< "subj" or "body"; any other value: no trigger
  const char* text = "";                    ///< the reply's text, UTF-8
  const char* resp_on = "false";            ///< the rule is off if this is exactly "false"
  const char* ans_freq = "10";              ///< replies per sender and day
  const char* mem_limit = "1000";           ///< how many senders the limiter remembers
  const char* subject = "";                 ///< the template of the reply's subject
  const char* reply_to = "";                ///< of the reply; no Reply-To field if empty
  const char* charset = "UTF-8";            ///< of the reply's text
  const char* content_type = "text/plain";  ///< of the reply's text

  ResponderRule() = default;
  /// `row`: a row of the result of `rules_query`.
  explicit ResponderRule(Row row);
};

/// A rule as the repairs let it answer. Kept: without them control characters in its texts for
/// header fields (`reply_to`, `charset`, `content_type`) reach the header, and can add lines to it;
/// and no reply leaves whose Reply-To the mail server cannot parse. With the repair of lines blanks
/// replace them; with that of Reply-To such a `reply_to` is empty.
class RepairedRule {
 public:
  /// The other texts remain views into the row of `rule`.
  RepairedRule(const ResponderRule& rule, const Repairs& repairs);
  RepairedRule(const RepairedRule&) = delete;
  RepairedRule& operator=(const RepairedRule&) = delete;

  const ResponderRule& rule() const { return rule_; }

 private:
  std::string reply_to_;
  std::string charset_;
  std::string content_type_;
  ResponderRule rule_;
};

/// The query for the rules of the mailbox `mailbox_id`.
std::string rules_query(const std::string& mailbox_id);

/// All rules of the result of `rules_query`, in its order.
std::vector<ResponderRule> read_rules(Rows& rows);

/// Whether the rule is on.
bool is_active(const ResponderRule& rule);

/// Where a rule looks for its trigger.
enum class TriggerPlace { kNowhere, kSubject, kBody };

/// The place that `key_where` names.
TriggerPlace trigger_place(const ResponderRule& rule);

/// Where a rule's trigger was found.
struct TriggerMatch {
  bool fires;   ///< without a trigger always; if the rule is off never
  size_t line;  ///< of the body, from 1; 0 if the rule does not search the body, or in vain
};

/// For each rule, whether its trigger occurs, byte for byte, in the subject or within one line of
/// the body. The body can be asked only once (`Body::FirstWith`).
std::vector<TriggerMatch> find_triggers(const std::vector<ResponderRule>& rules,
                                        const IncomingMessage& message);
