#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "autoresponder/panel/frequency_limiter.h"

namespace {

using testing::ElementsAre;

constexpr char kForget[] =
    "delete from resp_freq where rn_id=7 and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0";
constexpr char kCount[] = "select COUNT(*) from resp_freq where rn_id=7";
constexpr char kNum[] = "select num from resp_freq where rn_id=7 and email='o\\'neil@x.example'";
constexpr char kInsert[] = "insert into resp_freq set rn_id=7, email='o\\'neil@x.example', num=1";
constexpr char kUpdate[] =
    "update resp_freq set num=4+1 where rn_id=7 and email='o\\'neil@x.example'";
constexpr char kOldest[] = "select MIN(time_resp) from resp_freq where rn_id=7";
constexpr char kEvict[] = "delete from resp_freq where rn_id=7 and time_resp='2026-01-02'";
constexpr char kToday[] = " and ((TO_DAYS(NOW())-TO_DAYS(time_resp))>0) is not true";
constexpr char kDefinition[] =
    "CREATE TABLE `resp_freq` (\n  `rn_id` int,\n  `email` varchar(20) NOT NULL\n"
    ") DEFAULT CHARSET=utf8mb4";

class TheLimiter : public testing::Test {
 protected:
  TheLimiter() {
    message_.sender = "o'neil@x.example";
    message_.SetRecipient("info@shop.example");
    rule_.id = "7";
    rule_.mem_limit = "2";
    rule_.ans_freq = "5";
  }

  LimiterFacts Ask(LimiterMode mode = LimiterMode::kCount) {
    PanelDatabase database = PanelDatabase(FakeDatabase::Open);
    return check_reply_frequency(database, message_, rule_, mode, switches_);
  }

  void HasSenders(const char* count) { database_.Answer("COUNT(*)", {{count}}); }
  void HasReplied(const char* num) { database_.Answer("select num", {{num}}); }

  FakeDatabase database_;
  IncomingMessage message_;
  ResponderRule rule_;
  Switches switches_;
};

TEST_F(TheLimiter, RemembersANewSender) {
  HasSenders("1");
  const LimiterFacts facts = Ask();
  EXPECT_EQ(facts.step, LimiterStep::kRemember);
  EXPECT_EQ(facts.senders, 1);
  EXPECT_FALSE(facts.replies_today);
  EXPECT_THAT(database_.statements, ElementsAre(kForget, kCount, kNum, kInsert));
}

TEST_F(TheLimiter, CountsASenderUp) {
  HasReplied("4");
  EXPECT_EQ(Ask().step, LimiterStep::kCountUp);
  EXPECT_THAT(database_.statements, ElementsAre(kForget, kCount, kNum, kUpdate));
}

TEST_F(TheLimiter, CountsNullAsZero) {
  database_.Answer("select num", {{std::nullopt}});
  EXPECT_EQ(Ask().replies_today, "0");
  EXPECT_THAT(database_.statements.back(), testing::HasSubstr("num=0+1"));
}

TEST_F(TheLimiter, WritesNothingForASenderWithEnoughReplies) {
  HasReplied("5");
  EXPECT_EQ(Ask().step, LimiterStep::kRefuse);
  EXPECT_THAT(database_.statements, ElementsAre(kForget, kCount, kNum));
}

TEST_F(TheLimiter, EvictsTheOldestWhenItIsFull) {
  HasSenders("2");
  database_.Answer("MIN(time_resp)", {{"2026-01-02"}});
  const LimiterFacts facts = Ask();
  EXPECT_EQ(facts.step, LimiterStep::kEvictAndRemember);
  EXPECT_THAT(facts.evicted, ElementsAre());
  EXPECT_THAT(database_.statements, ElementsAre(kForget, kCount, kNum, kOldest, kEvict, kInsert));
}

TEST_F(TheLimiter, EvictsTheTimeZeroWhereNobodyIsRemembered) {
  rule_.mem_limit = "0";
  database_.Answer("MIN(time_resp)", {{std::nullopt}});
  Ask();
  EXPECT_EQ(database_.statements[4], "delete from resp_freq where rn_id=7 and time_resp='0'");
}

TEST_F(TheLimiter, EvictsNobodyWhereNobodyIsRememberedIfThatIsRepaired) {
  rule_.mem_limit = "0";
  switches_.repairs.evictions = true;
  database_.Answer("MIN(time_resp)", {{std::nullopt}});
  Ask();
  EXPECT_THAT(database_.statements, ElementsAre(kForget, kCount, kNum, kOldest, kInsert));
}

TEST_F(TheLimiter, AsksNothingMoreForARuleThatNeverReplies) {
  rule_.ans_freq = "0";
  EXPECT_FALSE(Ask().step);
  EXPECT_THAT(database_.statements, ElementsAre(kForget));
}

TEST_F(TheLimiter, OnlyReadsWhenItLooks) {
  HasSenders("2");
  database_.Answer("MIN(time_resp)", {{"2026-01-02"}});
  database_.Answer("select email", {{"a@x.example"}, {"b@x.example"}});
  database_.Answer("show create table", {{"resp_freq", kDefinition}});
  const LimiterFacts facts = Ask(LimiterMode::kLook);
  EXPECT_EQ(facts.step, LimiterStep::kEvictAndRemember);
  EXPECT_THAT(facts.evicted, ElementsAre("a@x.example", "b@x.example"));
  EXPECT_THAT(database_.statements,
              ElementsAre("show create table resp_freq", kCount + std::string(kToday),
                          kNum + std::string(kToday), kOldest + std::string(kToday),
                          "select email from resp_freq where rn_id=7 and time_resp='2026-01-02'" +
                              std::string(kToday),
                          "show create table resp_freq",
                          "select @@sql_mode like '%STRICT%' and "
                          "char_length(convert('o\\'neil@x.example' using utf8mb4))>20"));
}

TEST_F(TheLimiter, FailsAsTheInsertOfALongSenderWouldWhenItLooks) {
  message_.sender = "a.very.long.name@x.example";
  database_.Answer("show create table", {{"resp_freq", kDefinition}});
  database_.Answer("STRICT", {{"1"}});
  try {
    Ask(LimiterMode::kLook);
    FAIL();
  } catch (const PanelFailure& failure) {
    EXPECT_EQ(failure.error(), kDataTooLong);
    EXPECT_STREQ(failure.what(),
                 "autoresponder: Unable to exec query :Data too long for column 'email'");
  }
}

TEST_F(TheLimiter, CutsALongSenderIfThatIsRepaired) {
  message_.sender = "a.very.long.name@x.example";
  database_.Answer("show create table", {{"resp_freq", kDefinition}});
  EXPECT_FALSE(Ask().is_too_long);
  EXPECT_THAT(database_.statements.back(), testing::HasSubstr("'a.very.long.name@x.example'"));
  switches_.repairs.long_senders = true;
  EXPECT_TRUE(Ask().is_too_long);
  EXPECT_THAT(database_.statements.back(), testing::HasSubstr("'a.very.long.name@x.e'"));
}

TEST_F(TheLimiter, CutsNoSenderThatFits) {
  message_.sender = "of.20.bytes@x.exampl";
  switches_.repairs.long_senders = true;
  database_.Answer("show create table", {{"resp_freq", kDefinition}});
  EXPECT_FALSE(Ask().is_too_long);
  EXPECT_THAT(database_.statements.back(), testing::HasSubstr("'of.20.bytes@x.exampl'"));
}

TEST_F(TheLimiter, TakesTurnsIfThatIsRepaired) {
  switches_.repairs.turns = true;
  Ask();
  EXPECT_THAT(database_.statements, ElementsAre(kForget, "start transaction",
                                                "select id from mail_resp where id=7 for update",
                                                kCount, kNum, kInsert, "commit"));
}

TEST_F(TheLimiter, TakesNoTurnsWhenItLooks) {
  switches_.repairs.turns = true;
  Ask(LimiterMode::kLook);
  EXPECT_THAT(database_.statements, testing::Not(testing::Contains("start transaction")));
}

TEST_F(TheLimiter, RepeatsATransactionAfterAConflict) {
  switches_.repairs.turns = true;
  for (const unsigned conflict : {1020U, 1205U, 1213U}) {
    FakeDatabase database;
    database.Fail("insert", conflict, "conflict", 2);
    EXPECT_EQ(Ask().step, LimiterStep::kRemember);
    const auto& said = database.statements;
    EXPECT_EQ(std::count(said.begin(), said.end(), kForget), 3) << conflict;
    EXPECT_EQ(std::count(said.begin(), said.end(), "start transaction"), 3) << conflict;
    EXPECT_EQ(std::count(said.begin(), said.end(), "rollback"), 2) << conflict;
    EXPECT_EQ(said.back(), "commit") << conflict;
  }
}

TEST_F(TheLimiter, RepeatsNothingAfterAnotherFailure) {
  switches_.repairs.turns = true;
  database_.Fail("insert", 1146, "no such table");
  EXPECT_THROW(Ask(), PanelFailure);
  EXPECT_EQ(database_.statements.back(), kInsert);
}

TEST(TheQueryForTheRepliesOfToday, IsAboutAllRulesOrThoseOfAMailbox) {
  EXPECT_THAT(replies_today_query(""), testing::HasSubstr(" where f.rn_id is not null group by "));
  EXPECT_THAT(replies_today_query("3"),
              testing::HasSubstr(
                  " where m.id=3 and (r.resp_on<>'false' or f.rn_id is not null) group by "));
}

}  // namespace
