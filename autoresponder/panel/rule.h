#ifndef AUTORESPONDER_PANEL_RULE_H
#define AUTORESPONDER_PANEL_RULE_H

#include <cstddef>
#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// One autoresponder rule: NUL-terminated texts, or the defaults below for columns that are NULL.
/// Views into the row: rules that do not fire are skipped without copying. Valid as long as the
/// rows. Numbers are kept as texts, and read by `atoi` where they are used.
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

/// A rule whose texts for header fields (`reply_to`, `charset`, `content_type`) have blanks for
/// control characters, so that none of them adds a line to a header.
class RuleInOneLine {
 public:
  /// The other texts are still those of `rule`.
  explicit RuleInOneLine(const ResponderRule& rule);
  RuleInOneLine(const RuleInOneLine&) = delete;
  RuleInOneLine& operator=(const RuleInOneLine&) = delete;

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

TriggerPlace trigger_place(const ResponderRule& rule);

/// Where a rule's trigger was found.
struct TriggerMatch {
  bool fires;   ///< always where the rule has no trigger; never where the rule is off
  size_t line;  ///< of the body, from 1 on; 0 where the rule does not look there or did not find it
};

/// For each rule whether its trigger occurs, byte for byte, in the subject or within one line of
/// the body. Asks the body once.
std::vector<TriggerMatch> find_triggers(const std::vector<ResponderRule>& rules,
                                        const IncomingMessage& message);

#endif
