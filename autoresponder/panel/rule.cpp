#include "autoresponder/panel/rule.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "autoresponder/message/body_lines.h"
#include "support/base/text.h"

namespace {

constexpr auto npos = std::string_view::npos;

// Skips the comment, the quoted string or the literal that `text` begins with; false if it has no
// end.
bool skip_enclosed(std::string_view& text) {
  const char open = text[0];
  const char close = open == '(' ? ')' : open == '[' ? ']' : '"';
  size_t depth = 1;
  size_t i = 1;
  for (; i < text.size() && depth > 0; ++i) {
    if (text[i] == close) {
      --depth;
    } else if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '(' && open == '(') {
      ++depth;
    }
  }
  text.remove_prefix(std::min(i, text.size()));
  return depth == 0;
}

// The bytes up to a blank or a byte with a meaning of its own. Within an atom closing brackets have
// none.
void skip_atom(std::string_view& text) {
  constexpr std::string_view kEnds = " \t\r\n([\"<>;:@,.";
  size_t i = 0;
  do {
    i += text[i] == '\\' ? 2 : 1;
  } while (i < text.size() && kEnds.find(text[i]) == npos);
  text.remove_prefix(std::min(i, text.size()));
}

// What groups the addresses: colons, semicolons, commas and angle brackets. Nothing if a quote, a
// comment or a literal has no end, or a bracket no beginning.
std::optional<std::string> structure_of(std::string_view text) {
  constexpr std::string_view kSingle = "<>;:,@. \t\r\n";
  std::string structure;
  while (!text.empty()) {
    const char c = text[0];
    if (c == ')' || c == ']') return std::nullopt;
    if (c == '(' || c == '[' || c == '"') {
      if (!skip_enclosed(text)) return std::nullopt;
    } else if (kSingle.find(c) == npos) {
      skip_atom(text);
    } else {
      if (kSingle.find(c) < kSingle.find('@')) structure += c;
      text.remove_prefix(1);
    }
  }
  return structure;
}

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

// From right to left, as qmail does: what stands before a group's colon, up to a comma, is its
// name, whatever it holds.
bool can_be_parsed(std::string_view addresses) {
  const auto structure = structure_of(addresses);
  if (!structure) return false;
  bool is_in_group = false;
  for (size_t end = structure->size(); end > 0; --end) {
    const char c = (*structure)[end - 1];
    if (c == ';' ? is_in_group : c == ':' && !is_in_group) return false;
    if (c == ';' || c == ':') is_in_group = c == ';';
    if (c != ':' && c != '>') continue;
    const size_t start = structure->rfind(c == ':' ? ',' : '<', end - 1);
    if (start == npos) return c == ':';
    end = start + 1;
  }
  return true;
}

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
