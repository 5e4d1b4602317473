#include "autoresponder/rule.h"

#include "autoresponder/search.h"

namespace {

constexpr const char* kNoKey = "";
constexpr const char* kNoPlace = "no";
constexpr const char* kSwitchedOff = "false";

}  // namespace

std::string rules_query(const std::string& mailbox_id) {
  return "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to, "
         "charset, content_type from mail_resp where mn_id=" +
         mailbox_id;
}

ResponderRule rule_from_row(Row row) {
  return {text_or(row[0], "0"),     text_or(row[1], kNoKey),       text_or(row[2], kNoPlace),
          text_or(row[3], ""),      text_or(row[4], kSwitchedOff), text_or(row[5], "10"),
          text_or(row[6], "1000"),  text_or(row[7], ""),           text_or(row[8], ""),
          text_or(row[9], "UTF-8"), text_or(row[10], "text/plain")};
}

RuleCondition::RuleCondition(const ResponderRule& rule)
    : keystr(rule.keystr), key_where(rule.key_where), resp_on(rule.resp_on) {}

RuleCondition::RuleCondition(Row row)
    : keystr(text_or(row[1], kNoKey)),
      key_where(text_or(row[2], kNoPlace)),
      resp_on(text_or(row[4], kSwitchedOff)) {}

bool is_active(const RuleCondition& rule) {
  return rule.resp_on != kSwitchedOff;
}

TriggerPlace trigger_place(const RuleCondition& rule) {
  if (rule.key_where == "subj") return TriggerPlace::kSubject;
  return rule.key_where == "body" ? TriggerPlace::kBody : TriggerPlace::kNowhere;
}

bool rule_fires(const RuleCondition& rule, const IncomingMessage& message) {
  switch (trigger_place(rule)) {
    case TriggerPlace::kSubject:
      return find_text(message.subject, rule.keystr) != nullptr;
    case TriggerPlace::kBody:
      return message.body_lines.FirstWith(rule.keystr) != 0;
    case TriggerPlace::kNowhere:
      break;
  }
  return true;
}
