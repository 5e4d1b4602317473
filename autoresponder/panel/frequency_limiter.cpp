#include "autoresponder/panel/frequency_limiter.h"

#include <cstdint>
#include <cstdlib>
#include <limits>

#include "support/base/joined.h"

namespace {

// SQL condition: the row is of an earlier day, by the clock of the database server.
constexpr const char* kOfEarlierDay = "(TO_DAYS(NOW())-TO_DAYS(time_resp))>0";
constexpr const char* kOfToday = " and ((TO_DAYS(NOW())-TO_DAYS(time_resp))>0) is not true";

// The rows of one rule in the table `resp_freq`, one for each sender. With kLook nothing is
// written; instead, reading ignores the rows that kCount would have deleted.
class Memory {
 public:
  Memory(PanelDatabase& database, const std::string& rule_id, const std::string& sender,
         LimiterMode mode)
      : database_(database),
        of_rule_(" where rn_id=" + rule_id),
        rule_id_(rule_id),
        sender_(database.Escape(sender)),
        counts_(mode == LimiterMode::kCount) {}

  // Static, because it is the rule's first statement: the sender is escaped only after it.
  static void ForgetEarlierDays(PanelDatabase& database, const std::string& rule_id) {
    database.Execute("delete from resp_freq where rn_id=" + rule_id + " and " + kOfEarlierDay);
  }

  int Senders() const {
    Rows rows = Select("COUNT(*)");
    const Row row = rows.Next();
    return row != nullptr ? atoi(text_or(*row, "0")) : 0;
  }

  // The column `num` of the sender's first row, "0" for NULL; nothing without a row.
  std::optional<std::string> RepliesToday() const {
    Rows rows = Select("num", "email", sender_.view());
    const Row row = rows.Next();
    if (row == nullptr) return std::nullopt;
    return text_or(*row, "0");
  }

  void CountUp(const std::string& num) const {
    Write(joined(
        {"update resp_freq set num=", num, "+1", of_rule_, " and email='", sender_.view(), "'"}));
  }

  // Deletes the rows with the oldest time stamp; with kLook returns their senders instead.
  //
  // Kept: all rows that share this time stamp are deleted, and only once, however many there are.
  std::vector<std::string> EvictOldest() const {
    const std::string oldest = OldestTime();
    Write(joined({"delete from resp_freq", of_rule_, " and time_resp='", oldest, "'"}));
    std::vector<std::string> senders;
    if (counts_) return senders;
    Rows rows = Select("email", "time_resp", oldest);
    while (const Row row = rows.Next()) senders.emplace_back(text_or(*row, ""));
    return senders;
  }

  void Remember() const {
    if (!counts_) FailAsTheInsertWould();
    Write(joined(
        {"insert into resp_freq set rn_id=", rule_id_, ", email='", sender_.view(), "', num=1"}));
  }

 private:
  // A strict server refuses a sender that is longer than the column.
  void FailAsTheInsertWould() const {
    constexpr unsigned kDataTooLong = 1406;
    const std::string most = std::to_string(MostCharacters());
    Rows rows =
        database_.Query(joined({"select @@sql_mode like '%STRICT%' and char_length(convert('",
                                sender_.view(), "' using utf8mb4))>", most}));
    const Row row = rows.Next();
    const bool fails = row != nullptr && atoi(text_or(*row, "0")) != 0;
    if (fails) database_.Refuse("Data too long for column 'email'", kDataTooLong);
  }

  // Of the column with senders. Read from the table's definition, because the server writes a
  // temporary file to answer the same question about its information_schema.
  size_t MostCharacters() const {
    enum Column { kTable, kDefinition };
    constexpr std::string_view kVarchar = "`email` varchar(";
    Rows rows = database_.Query("show create table resp_freq");
    const Row row = rows.Next();
    const std::string definition = row != nullptr ? text_or(row[kDefinition], "") : "";
    const size_t at = definition.find(kVarchar);
    if (at == std::string::npos) return std::numeric_limits<uint32_t>::max();
    return static_cast<size_t>(atol(definition.c_str() + at + kVarchar.size()));
  }

  Rows Select(const char* what) const {
    return database_.Query(joined({"select ", what, " from resp_freq", of_rule_, OfWhichDays()}));
  }

  Rows Select(const char* what, const char* column, std::string_view value) const {
    return database_.Query(joined({"select ", what, " from resp_freq", of_rule_, " and ", column,
                                   "='", value, "'", OfWhichDays()}));
  }

  const char* OfWhichDays() const { return counts_ ? "" : kOfToday; }

  void Write(const std::string& statement) const {
    if (counts_) database_.Execute(statement);
  }

  std::string OldestTime() const {
    Rows rows = Select("MIN(time_resp)");
    const Row row = rows.Next();
    return row != nullptr ? text_or(*row, "0") : "";
  }

  PanelDatabase& database_;
  std::string of_rule_;
  const std::string& rule_id_;
  EscapedText sender_;
  bool counts_;
};

}  // namespace

std::string answered_today_query(const std::string& rule_id) {
  return joined({"select email, num, time_resp from resp_freq where rn_id=", rule_id, kOfToday,
                 " order by time_resp, email"});
}

bool never_replies(const char* ans_freq) {
  return atoi(ans_freq) <= 0;
}

LimiterStep limiter_step(const std::optional<std::string>& replies_today, int senders,
                         const char* ans_freq, const char* mem_limit) {
  if (replies_today) {
    const bool is_enough = atoi(replies_today->c_str()) >= atoi(ans_freq);
    return is_enough ? LimiterStep::kRefuse : LimiterStep::kCountUp;
  }
  return senders >= atoi(mem_limit) ? LimiterStep::kEvictAndRemember : LimiterStep::kRemember;
}

LimiterFacts consult_limiter(PanelDatabase& database, const IncomingMessage& message,
                             const std::string& rule_id, const char* ans_freq,
                             const char* mem_limit, LimiterMode mode) {
  LimiterFacts facts;
  if (mode == LimiterMode::kCount) Memory::ForgetEarlierDays(database, rule_id);
  if (never_replies(ans_freq)) return facts;
  const Memory memory(database, rule_id, message.sender, mode);
  facts.senders = memory.Senders();
  facts.replies_today = memory.RepliesToday();
  facts.step = limiter_step(facts.replies_today, facts.senders, ans_freq, mem_limit);
  if (facts.step == LimiterStep::kRefuse) return facts;
  if (facts.step == LimiterStep::kCountUp) {
    memory.CountUp(*facts.replies_today);
    return facts;
  }
  if (facts.step == LimiterStep::kEvictAndRemember) facts.evicted = memory.EvictOldest();
  memory.Remember();
  return facts;
}

bool check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                           const std::string& rule_id, const char* ans_freq,
                           const char* mem_limit) {
  return allows_reply(
      consult_limiter(database, message, rule_id, ans_freq, mem_limit, LimiterMode::kCount));
}
