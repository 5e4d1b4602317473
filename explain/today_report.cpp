#include <ostream>

#include "explain/json_text.h"
#include "explain/printable.h"
#include "explain/reports.h"

void write_today_text(std::ostream& out, const Today& today) {
  for (const RuleToday& rule : today.rules) {
    out << formatted("{}, rule {}: senders {}, replies {}, senders at the limit {}{}\n",
                     printable(rule.address), printable(rule.rule), rule.senders, rule.replies,
                     rule.refused, rule.is_full ? ". It remembers as many senders as it may." : "");
  }
  if (!today.trouble.empty()) {
    out << "It cannot be told. " << printable(today.trouble) << '\n';
  } else if (!today.has_mailbox) {
    out << "The panel has no such mailbox or alias.\n";
  } else if (today.rules.empty()) {
    out << "No rule has replied today.\n";
  }
}

void write_today_json(std::ostream& out, const Today& today, const TextStyle& style) {
  Json result{{"found", today.has_mailbox}};
  if (!today.trouble.empty()) result["trouble"] = today.trouble;
  result["rules"] = Json::array();
  for (const RuleToday& rule : today.rules) {
    result["rules"].push_back({{"mailbox", rule.address},
                               {"id", number_of(rule.rule)},
                               {"senders", number_of(rule.senders)},
                               {"replies", number_of(rule.replies)},
                               {"senders_at_limit", number_of(rule.refused)},
                               {"memory_full", rule.is_full}});
  }
  write_json_text(out, result, style.on_terminal);
}
