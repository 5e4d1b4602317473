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

bool rule_fires(const ResponderRule& rule, const IncomingMessage& message) {
  if (rule.key_where == "subj") return contains(message.subject, rule.keystr);
  return rule.key_where != "body" || message.body_lines.Contain(rule.keystr);
}
