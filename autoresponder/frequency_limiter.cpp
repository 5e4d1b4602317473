#include "autoresponder/frequency_limiter.h"

#include <cstdlib>

#include "support/base/joined.h"

namespace {

int number(const std::string& text) {
  return atoi(text.c_str());
}

void forget_earlier_days(PanelDatabase& database, const std::string& rule_id) {
  database.Execute("delete from resp_freq where rn_id=" + rule_id + " and " + kOfEarlierDay);
}

// Kept: all senders that share the oldest time stamp go, and it is done once.
void evict_oldest(PanelDatabase& database, const std::string& rule_id) {
  const std::string oldest = oldest_time(database, rule_id, "");
  database.Execute("delete from resp_freq where rn_id=" + rule_id + " and time_resp='" + oldest +
                   "'");
}

}  // namespace

int remembered_senders(PanelDatabase& database, const std::string& rule_id,
                       const std::string& further) {
  Rows rows = database.Query("select COUNT(*) from resp_freq where rn_id=" + rule_id + further);
  const Row row = rows.Next();
  return row != nullptr ? number(text_or(row[0], "0")) : 0;
}

std::optional<std::string> replies_today(PanelDatabase& database, const std::string& rule_id,
                                         const EscapedText& sender, const std::string& further) {
  Rows rows = database.Query(joined({"select num from resp_freq where rn_id=", rule_id,
                                     " and email='", sender.view(), "'", further}));
  const Row row = rows.Next();
  if (row == nullptr) return std::nullopt;
  return text_or(row[0], "0");
}

std::string oldest_time(PanelDatabase& database, const std::string& rule_id,
                        const std::string& further) {
  Rows rows =
      database.Query("select MIN(time_resp) from resp_freq where rn_id=" + rule_id + further);
  const Row row = rows.Next();
  return row != nullptr ? text_or(row[0], "0") : "";
}

bool never_replies(const std::string& ans_freq) {
  return number(ans_freq) <= 0;
}

LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const std::string& ans_freq, const std::string& mem_limit) {
  if (replies_today) {
    const bool is_enough = number(*replies_today) >= number(ans_freq);
    return is_enough ? LimiterStep::kRefuse : LimiterStep::kCountUp;
  }
  const bool is_full = senders >= number(mem_limit);
  return is_full ? LimiterStep::kEvictAndRemember : LimiterStep::kRemember;
}

bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const std::string& ans_freq,
                           const std::string& mem_limit) {
  forget_earlier_days(database, rule_id);
  if (never_replies(ans_freq)) return false;
  const int senders = remembered_senders(database, rule_id, "");
  const EscapedText sender = database.Escape(message.sender);
  const std::optional<std::string> num = replies_today(database, rule_id, sender, "");
  switch (limiter_step(num, senders, ans_freq, mem_limit)) {
    case LimiterStep::kRefuse:
      return false;
    case LimiterStep::kCountUp:
      database.Execute(joined({"update resp_freq set num=", *num, "+1 where rn_id=", rule_id,
                               " and email='", sender.view(), "'"}));
      return true;
    case LimiterStep::kEvictAndRemember:
      evict_oldest(database, rule_id);
      break;
    case LimiterStep::kRemember:
      break;
  }
  database.Execute(joined(
      {"insert into resp_freq set rn_id=", rule_id, ", email='", sender.view(), "', num=1"}));
  return true;
}
