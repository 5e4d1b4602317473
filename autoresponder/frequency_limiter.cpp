#include "autoresponder/frequency_limiter.h"

#include <cstdlib>

namespace {

int number(const std::string& text) {
  return atoi(text.c_str());
}

void forget_earlier_days(PanelDatabase& database, const std::string& rule_id) {
  database.Execute("delete from resp_freq where rn_id=" + rule_id +
                   " and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0");
}

int remembered_senders(PanelDatabase& database, const std::string& rule_id) {
  Rows rows = database.Query("select COUNT(*) from resp_freq where rn_id=" + rule_id);
  const Row row = rows.Next();
  return row != nullptr ? number(text_or(row[0], "0")) : 0;
}

// Kept: all senders that share the oldest time stamp go, and it is done once.
void evict_oldest(PanelDatabase& database, const std::string& rule_id) {
  std::string oldest;
  {
    Rows rows = database.Query("select MIN(time_resp) from resp_freq where rn_id=" + rule_id);
    if (const Row row = rows.Next()) oldest = text_or(row[0], "0");
  }
  database.Execute("delete from resp_freq where rn_id=" + rule_id + " and time_resp='" + oldest +
                   "'");
}

}  // namespace

bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const std::string& ans_freq,
                           const std::string& mem_limit) {
  forget_earlier_days(database, rule_id);
  if (number(ans_freq) <= 0) return false;
  const int count = remembered_senders(database, rule_id);
  const std::string sender = database.Escape(message.sender);
  const std::string of_sender = " where rn_id=" + rule_id + " and email='" + sender + "'";
  Rows rows = database.Query("select num from resp_freq" + of_sender);
  if (const Row row = rows.Next()) {
    const std::string num = text_or(row[0], "0");
    if (number(num) >= number(ans_freq)) return false;
    database.Execute("update resp_freq set num=" + num + "+1" + of_sender);
    return true;
  }
  if (count >= number(mem_limit)) evict_oldest(database, rule_id);
  database.Execute("insert into resp_freq set rn_id=" + rule_id + ", email='" + sender +
                   "', num=1");
  return true;
}
