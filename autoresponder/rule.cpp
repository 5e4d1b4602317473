#include "autoresponder/rule.h"

#include "autoresponder/search.h"

std::string rules_query(const std::string& mailbox_id) {
  return "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to, "
         "charset, content_type from mail_resp where mn_id=" +
         mailbox_id;
}

ResponderRule rule_from_row(Row row) {
  return {text_or(row[0], "0"),     text_or(row[1], ""),           text_or(row[2], "no"),
          text_or(row[3], ""),      text_or(row[4], "false"),      text_or(row[5], "10"),
          text_or(row[6], "1000"),  text_or(row[7], ""),           text_or(row[8], ""),
          text_or(row[9], "UTF-8"), text_or(row[10], "text/plain")};
}

bool is_active(const ResponderRule& rule) {
  return rule.resp_on != "false";
}

TriggerPlace trigger_place(const ResponderRule& rule) {
  if (rule.key_where == "subj") return TriggerPlace::kSubject;
  return rule.key_where == "body" ? TriggerPlace::kBody : TriggerPlace::kNowhere;
}

bool rule_fires(const ResponderRule& rule, const IncomingMessage& message) {
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
