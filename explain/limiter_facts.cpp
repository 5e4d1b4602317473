#include "explain/limiter_facts.h"

#include <cstdlib>

namespace {

// The first column of a query's first row.
std::optional<std::string> first_value(PanelDatabase& database, const std::string& query,
                                       const char* null_text) {
  Rows rows = database.Query(query);
  const Row row = rows.Next();
  if (row == nullptr) return std::nullopt;
  return text_or(row[0], null_text);
}

std::vector<std::string> oldest_senders(PanelDatabase& database, const std::string& of_today) {
  const auto oldest = first_value(database, "select MIN(time_resp)" + of_today, "0");
  Rows rows =
      database.Query("select email" + of_today + " and time_resp='" + oldest.value_or("") + "'");
  std::vector<std::string> senders;
  while (const Row row = rows.Next()) senders.emplace_back(text_or(row[0], ""));
  return senders;
}

}  // namespace

LimiterFacts read_limiter(PanelDatabase& database, const ResponderRule& rule,
                          const IncomingMessage& message) {
  LimiterFacts facts;
  if (never_replies(rule.ans_freq)) return facts;
  const std::string of_today = " from resp_freq where rn_id=" + rule.id +
                               " and ((TO_DAYS(NOW())-TO_DAYS(time_resp))>0) is not true";
  const auto count = first_value(database, "select COUNT(*)" + of_today, "0");
  facts.senders = atoi(count.value_or("0").c_str());
  facts.replies_today = first_value(
      database, "select num" + of_today + " and email='" + database.Escape(message.sender) + "'",
      "0");
  facts.step = limiter_step(facts.replies_today, facts.senders, rule.ans_freq, rule.mem_limit);
  if (facts.step == LimiterStep::kEvictAndRemember) {
    facts.evicted = oldest_senders(database, of_today);
  }
  return facts;
}
