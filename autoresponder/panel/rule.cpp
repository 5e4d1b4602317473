#include "autoresponder/panel/rule.h"

#include <cstring>

#include "autoresponder/message/search.h"
#include "autoresponder/panel/reply_to.h"
#include "support/base/text.h"

namespace {

struct Column {
  const char* name;
  const char* ResponderRule::*field;
};

constexpr Column kColumns[] = {
    {"id", &ResponderRule::id},
    {"keystr", &ResponderRule::keystr},
    {"key_where", &ResponderRule::key_where},
    {"text", &ResponderRule::text},
    {"resp_on", &ResponderRule::resp_on},
    {"ans_freq", &ResponderRule::ans_freq},
    {"mem_limit", &ResponderRule::mem_limit},
    {"subject", &ResponderRule::subject},
    {"reply_to", &ResponderRule::reply_to},
    {"charset", &ResponderRule::charset},
    {"content_type", &ResponderRule::content_type},
};

bool looks_into_body(const ResponderRule& rule) {
  return is_active(rule) && trigger_place(rule) == TriggerPlace::kBody;
}

std::vector<std::string_view> body_keys(const std::vector<ResponderRule>& rules) {
  std::vector<std::string_view> keys;
  for (const ResponderRule& rule : rules) {
    if (looks_into_body(rule)) keys.emplace_back(rule.keystr);
  }
  return keys;
}

bool fires_without_body(const ResponderRule& rule, const IncomingMessage& message) {
  if (!is_active(rule)) return false;
  switch (trigger_place(rule)) {
    case TriggerPlace::kSubject:
      return find_text(message.subject, rule.keystr) != nullptr;
    case TriggerPlace::kNowhere:
      return true;
    case TriggerPlace::kBody:
      break;
  }
  return false;
}

}  // namespace

ResponderRule::ResponderRule(Row row) {
  for (const Column& column : kColumns) {
    if (const char* const value = *row++; value != nullptr) this->*column.field = value;
  }
}

RepairedRule::RepairedRule(const ResponderRule& rule, const Repairs& repairs)
    : reply_to_(in_one_line(rule.reply_to)),
      charset_(in_one_line(rule.charset)),
      content_type_(in_one_line(rule.content_type)),
      rule_(rule) {
  if (repairs.lines) {
    rule_.reply_to = reply_to_.c_str();
    rule_.charset = charset_.c_str();
    rule_.content_type = content_type_.c_str();
  }
  if (repairs.reply_to && !can_be_parsed(rule_.reply_to)) rule_.reply_to = "";
}

std::string rules_query(const std::string& mailbox_id) {
  std::string query;
  for (const Column& column : kColumns) {
    query.append(query.empty() ? "select " : ", ").append(column.name);
  }
  return query + " from mail_resp where mn_id=" + mailbox_id;
}

std::vector<ResponderRule> read_rules(Rows& rows) {
  std::vector<ResponderRule> rules;
  while (const Row row = rows.Next()) rules.emplace_back(row);
  return rules;
}

bool is_active(const ResponderRule& rule) {
  return strcmp(rule.resp_on, "false") != 0;
}

TriggerPlace trigger_place(const ResponderRule& rule) {
  if (strcmp(rule.key_where, "subj") == 0) return TriggerPlace::kSubject;
  return strcmp(rule.key_where, "body") == 0 ? TriggerPlace::kBody : TriggerPlace::kNowhere;
}

std::vector<TriggerMatch> find_triggers(const std::vector<ResponderRule>& rules,
                                        const IncomingMessage& message) {
  const std::vector<size_t> lines = message.body_lines->FirstWith(body_keys(rules));
  auto next = lines.begin();
  std::vector<TriggerMatch> triggers;
  for (const ResponderRule& rule : rules) {
    const size_t line = looks_into_body(rule) ? *next++ : 0;
    triggers.push_back({line != 0 || fires_without_body(rule, message), line});
  }
  return triggers;
}
