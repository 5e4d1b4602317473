#ifndef AUTORESPONDER_PANEL_RULE_H
#define AUTORESPONDER_PANEL_RULE_H

#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// One autoresponder rule: the texts of its row, NUL-terminated and valid as long as the rows, and
/// where a column is NULL the default that is given here. Nothing is copied, because a mailbox may
/// have many rules that a message does not concern. Numbers are read with `atoi` where they are
/// used.
struct ResponderRule {
  const char* id = "0";
  const char* keystr = "";                  ///< the trigger
  const char* key_where = "no";             ///< "subj", "body", anything else for no trigger
  const char* text = "";                    ///< the reply's text, UTF-8
  const char* resp_on = "false";            ///< "false" alone switches a rule off
  const char* ans_freq = "10";              ///< replies per sender and day
  const char* mem_limit = "1000";           ///< senders remembered
  const char* subject = "";                 ///< template of the reply's subject
  const char* reply_to = "";                ///< no Reply-To when empty
  const char* charset = "UTF-8";            ///< of the reply's text
  const char* content_type = "text/plain";  ///< of the reply's text

  ResponderRule() = default;
  /// `row`: of `rules_query`.
  explicit ResponderRule(Row row);
};

/// The query for the rules of the mailbox `mailbox_id`.
std::string rules_query(const std::string& mailbox_id);

/// Whether the rule is on.
bool is_active(const ResponderRule& rule);

/// Where a rule looks for its trigger.
enum class TriggerPlace { kNowhere, kSubject, kBody };

TriggerPlace trigger_place(const ResponderRule& rule);

/// Whether the rule's trigger occurs in the message: byte for byte, in the subject or within one
/// line of the body. A rule that looks nowhere always fires.
bool rule_fires(const ResponderRule& rule, const IncomingMessage& message);

#endif
