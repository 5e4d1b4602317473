#include "autoresponder/panel/frequency_limiter.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <unistd.h>

#include "autoresponder/panel/sender_column.h"
#include "support/base/text.h"
#include "support/libidn.h"

namespace {

// SQL condition: the row is of an earlier day, by the clock of the database server.
constexpr const char* kOfEarlierDay = "(TO_DAYS(NOW())-TO_DAYS(time_resp))>0";
constexpr const char* kOfToday = " and ((TO_DAYS(NOW())-TO_DAYS(time_resp))>0) is not true";

// The rows of one rule in the table `resp_freq`, one for each sender. With kLook nothing is
// written; instead, reading ignores the rows that kCount would have deleted.
class Memory {
 public:
  Memory(PanelDatabase& database, const ResponderRule& rule, const std::string& sender,
         LimiterMode mode, const Repairs& repairs)
      : database_(database),
        of_rule_(joined({" where rn_id=", rule.id})),
        rule_id_(rule.id),
        sender_(database.Escape(sender)),
        counts_(mode == LimiterMode::kCount),
        is_in_turn_(repairs.turns),
        skips_empty_(repairs.evictions) {}

  // Static, because it is called before the sender is cut and escaped.
  static void ForgetEarlierDays(PanelDatabase& database, const ResponderRule& rule) {
    database.Execute(
        joined({"delete from resp_freq where rn_id=", rule.id, " and ", kOfEarlierDay}));
  }

  int Senders() const { return atoi(first_column(Select("COUNT(*)"), "0").value_or("0").c_str()); }

  // The column `num` of the sender's first row, "0" for NULL; nothing without a row.
  std::optional<std::string> RepliesToday() const {
    return first_column(Select("num", " and email='", sender_.view(), "'"), "0");
  }

  void CountUp(const std::string& num) const {
    Write(joined(
        {"update resp_freq set num=", num, "+1", of_rule_, " and email='", sender_.view(), "'"}));
  }

  // Deletes the rows with the oldest time stamp; with kLook returns their senders instead.
  //
  // Kept: deletes all rows that share this time stamp, and only once, even if too many rows remain.
  // And the statement for the time "0" where there are no rows, which MySQL refuses; the repair of
  // evictions sends none.
  std::vector<std::string> EvictOldest() const {
    const std::string oldest = first_column(Select("MIN(time_resp)"), kNoTime).value_or("");
    if (oldest == kNoTime && skips_empty_) return {};
    Write(joined({"delete from resp_freq", of_rule_, " and time_resp='", oldest, "'"}));
    std::vector<std::string> senders;
    if (counts_) return senders;
    Rows rows = Select("email", " and time_resp='", oldest, "'");
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
    const std::string max_size = std::to_string(max_sender_length(database_));
    const std::string query = joined({"select @@sql_mode like '%STRICT%' and char_length(convert('",
                                      sender_.view(), "' using utf8mb4))>", max_size});
    const bool fails = first_column(database_.Query(query), "0").value_or("0") != "0";
    if (fails) database_.Refuse("Data too long for column 'email'", kDataTooLong);
  }

  // Kept: without the repair `turns` an error while rows are received counts as a result without
  // rows.
  Rows Select(const char* what, const char* before = "", std::string_view value = "",
              const char* after = "") const {
    const char* const of_days = counts_ ? "" : kOfToday;
    const std::string query =
        joined({"select ", what, " from resp_freq", of_rule_, before, value, after, of_days});
    return is_in_turn_ ? database_.QueryWhole(query) : database_.Query(query);
  }

  void Write(const std::string& statement) const {
    if (counts_) database_.Execute(statement);
  }

  static constexpr const char* kNoTime = "0";

  PanelDatabase& database_;
  std::string of_rule_;
  std::string_view rule_id_;
  EscapedText sender_;
  bool counts_;
  bool is_in_turn_;
  bool skips_empty_;
};

// Carries out `facts.step`.
void write(const Memory& memory, LimiterFacts& facts) {
  if (facts.step == LimiterStep::kCountUp) {
    memory.CountUp(*facts.replies_today);
    return;
  }
  if (facts.step == LimiterStep::kEvictAndRemember) facts.evicted = memory.EvictOldest();
  memory.Remember();
}

LimiterFacts decide(PanelDatabase& database, const IncomingMessage& message,
                    const ResponderRule& rule, LimiterMode mode, const Switches& switches) {
  LimiterFacts facts;
  if (never_replies(rule.ans_freq)) return facts;
  const Repairs& repairs = switches.repairs;
  const bool asks = repairs.long_senders || mode == LimiterMode::kLook;
  const auto held = asks ? std::make_optional(held_sender(database, message.sender)) : std::nullopt;
  facts.is_too_long = held && held->size() < message.sender.size();
  const bool is_held = held && repairs.long_senders;
  const Memory memory(database, rule, is_held ? *held : message.sender, mode, repairs);
  facts.senders = memory.Senders();
  facts.replies_today = memory.RepliesToday();
  facts.step = limiter_step(facts.replies_today, facts.senders, rule.ans_freq, rule.mem_limit);
  if (!allows_reply(facts)) return facts;
  // If libidn is needed from here on, by the reply's From or by courtesy, which compares domains in
  // both forms, and cannot be loaded, the process ends here, before anything is counted or sent:
  // after status 1 the mail server delivers the message again.
  if (switches.courtesy || kem::needs_libidn(message.recipient)) kem::libidn.Load();
  write(memory, facts);
  return facts;
}

// Whether a concurrent transaction made this one fail, so that it may be repeated.
bool is_conflict(const PanelFailure& failure) {
  constexpr unsigned kRecordChanged = 1020;
  constexpr unsigned kLockWaitTimeout = 1205;
  constexpr unsigned kDeadlock = 1213;
  const unsigned error = failure.error();
  return error == kRecordChanged || error == kLockWaitTimeout || error == kDeadlock;
}

// Locks the rule's row, so that the runs of one rule take turns. Rows of earlier days are deleted
// before the transaction: a deletion that finds no row locks the gap where rows of other rules may
// be inserted, and if runs of several rules kept such locks, their insertions would deadlock.
LimiterFacts decide_in_transaction(PanelDatabase& database, const IncomingMessage& message,
                                   const ResponderRule& rule, const Switches& switches) {
  Memory::ForgetEarlierDays(database, rule);
  database.Execute("start transaction");
  database.QueryWhole(joined({"select id from mail_resp where id=", rule.id, " for update"}));
  LimiterFacts facts = decide(database, message, rule, LimiterMode::kCount, switches);
  database.Execute("commit");
  return facts;
}

// The process id spreads runs that conflicted, so that they do not conflict again.
void pause_before(int attempt) {
  constexpr int kMaxFactor = 10;
  const auto spread = static_cast<unsigned>(getpid()) % 16;
  std::this_thread::sleep_for(std::chrono::milliseconds(5 + spread) *
                              std::min(attempt, kMaxFactor));
}

// Repeats the transaction after a conflict, for a minute. The last attempt may wait for a lock for
// nearly another one: then we have waited about as long as for a server that is silent.
LimiterFacts decide_alone(PanelDatabase& database, const IncomingMessage& message,
                          const ResponderRule& rule, const Switches& switches) {
  constexpr int kMaxAttempts = 20;
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  for (int attempt = 1;; ++attempt) {
    try {
      return decide_in_transaction(database, message, rule, switches);
    } catch (const PanelFailure& failure) {
      const bool is_late = attempt == kMaxAttempts || std::chrono::steady_clock::now() > end;
      if (is_late || !is_conflict(failure)) throw;
    }
    database.Execute("rollback");
    pause_before(attempt);
  }
}

}  // namespace

std::string answered_today_query(const std::string& rule_id) {
  return joined({"select email, num, time_resp from resp_freq where rn_id=", rule_id, kOfToday,
                 " order by time_resp, email"});
}

std::string replies_today_query(const std::string& mailbox_id) {
  constexpr const char* kSelect =
      "select m.mail_name, d.name, r.id, count(f.rn_id), coalesce(sum(f.num), 0), "
      "coalesce(sum(f.num>=coalesce(r.ans_freq, 10)), 0), "
      "count(f.rn_id)>=coalesce(r.mem_limit, 1000) from mail_resp r "
      "join mail m on m.id=r.mn_id join domains d on d.id=m.dom_id "
      "left join resp_freq f on f.rn_id=r.id";
  constexpr const char* kOrder =
      " group by d.name, m.mail_name, r.id, r.ans_freq, r.mem_limit "
      "order by d.name, m.mail_name, r.id";
  if (mailbox_id.empty()) return joined({kSelect, kOfToday, " where f.rn_id is not null", kOrder});
  return joined({kSelect, kOfToday, " where m.id=", mailbox_id,
                 " and (r.resp_on<>'false' or f.rn_id is not null)", kOrder});
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

LimiterFacts check_reply_frequency(PanelDatabase& database, const IncomingMessage& message,
                                   const ResponderRule& rule, LimiterMode mode,
                                   const Switches& switches) {
  const bool takes_turns = switches.repairs.turns && mode == LimiterMode::kCount;
  if (takes_turns) return decide_alone(database, message, rule, switches);
  if (mode == LimiterMode::kCount) Memory::ForgetEarlierDays(database, rule);
  return decide(database, message, rule, mode, switches);
}
