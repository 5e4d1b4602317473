#ifndef AUTORESPONDER_RULE_H
#define AUTORESPONDER_RULE_H

#include <string>
#include <string_view>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"

/// One autoresponder rule, every column as the text that the database gives; where it is NULL, the
/// default stands here. Numbers are read with `atoi` where they are used.
struct ResponderRule {
  std::string id;            ///< "0"
  std::string keystr;        ///< ""; the trigger
  std::string key_where;     ///< "no"; "subj", "body", anything else for no trigger
  std::string text;          ///< ""; the reply's text, UTF-8
  std::string resp_on;       ///< "false", which alone switches a rule off
  std::string ans_freq;      ///< "10"; replies per sender and day
  std::string mem_limit;     ///< "1000"; senders remembered
  std::string subject;       ///< ""; template of the reply's subject
  std::string reply_to;      ///< ""; no Reply-To when empty
  std::string charset;       ///< "UTF-8"; of the reply's text
  std::string content_type;  ///< "text/plain"; of the reply's text
};

/// The query for the rules of the mailbox `mailbox_id`, with the columns that `rule_from_row`
/// reads.
std::string rules_query(const std::string& mailbox_id);

ResponderRule rule_from_row(Row row);

/// What of a rule decides whether it fires, in the texts of the rule or row that it comes from: a
/// mailbox may have many rules, of which a message concerns few.
struct RuleCondition {
  RuleCondition(const ResponderRule& rule);  // NOLINT(google-explicit-constructor): is part of it
  explicit RuleCondition(Row row);

  std::string_view keystr;
  std::string_view key_where;
  std::string_view resp_on;
};

/// Whether the rule is on.
bool is_active(const RuleCondition& rule);

/// Where a rule looks for its trigger.
enum class TriggerPlace { kNowhere, kSubject, kBody };

TriggerPlace trigger_place(const RuleCondition& rule);

/// Whether the rule's trigger occurs in the message: byte for byte, in the subject or within one
/// line of the body. A rule that looks nowhere always fires.
bool rule_fires(const RuleCondition& rule, const IncomingMessage& message);

#endif
