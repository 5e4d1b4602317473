#include "explain/limiter_facts.h"

namespace {

std::vector<std::string> oldest_senders(PanelDatabase& database, const std::string& rule_id,
                                        const std::string& of_today) {
  const std::string oldest = oldest_time(database, rule_id, of_today);
  Rows rows = database.Query("select email from resp_freq where rn_id=" + rule_id + of_today +
                             " and time_resp='" + oldest + "'");
  std::vector<std::string> senders;
  while (const Row row = rows.Next()) senders.emplace_back(text_or(row[0], ""));
  return senders;
}

}  // namespace

void read_limiter(PanelDatabase& database, const ResponderRule& rule,
                  const IncomingMessage& message, LimiterFacts& facts) {
  if (never_replies(rule.ans_freq)) return;
  const std::string of_today = std::string(" and (") + kOfEarlierDay + ") is not true";
  const EscapedText sender = database.Escape(message.sender);
  facts.senders = remembered_senders(database, rule.id, of_today);
  facts.replies_today = replies_today(database, rule.id, sender, of_today);
  facts.step = limiter_step(facts.replies_today, facts.senders, rule.ans_freq, rule.mem_limit);
  if (facts.step == LimiterStep::kEvictAndRemember) {
    facts.evicted = oldest_senders(database, rule.id, of_today);
  }
}
