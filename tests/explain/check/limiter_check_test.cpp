#include "checked_database.h"

namespace {

constexpr char kId[] = "`id` int(11) NOT NULL";

// A database whose limiter can work.
class TheLimiterCheck : public CheckedDatabase {
 protected:
  TheLimiterCheck() {
    Define("mail_resp", kId);
    DefineTime("timestamp NOT NULL DEFAULT current_timestamp()");
  }

  void DefineTime(const std::string& type, const std::string& more = "") {
    Define("resp_freq", "`rn_id` int(11) NOT NULL,\n  `time_resp` " + type + more);
  }

  std::string Codes() { return CodesOf(check_limiter); }
};

TEST_F(TheLimiterCheck, IsContent) {
  EXPECT_EQ(Codes(), "");
}

TEST_F(TheLimiterCheck, NeedsATimeThatFillsItself) {
  for (const char* type :
       {"datetime NOT NULL DEFAULT current_timestamp()", "timestamp NOT NULL DEFAULT now()"}) {
    DefineTime(type);
    EXPECT_EQ(Codes(), "") << type;
  }
  for (const char* type :
       {"timestamp NULL DEFAULT NULL", "time NOT NULL DEFAULT current_timestamp()",
        "date DEFAULT current_timestamp()"}) {
    DefineTime(type);
    EXPECT_EQ(Codes(), "limiter_time") << type;
  }
}

TEST_F(TheLimiterCheck, MindsColumnsWithoutDefaultOnAStrictServerOnly) {
  DefineTime("timestamp NOT NULL DEFAULT now()", ",\n  `remark` varchar(9) NOT NULL");
  server_.Answer("@@sql_mode", {{"0"}});
  EXPECT_EQ(Codes(), "");
  server_.Answer("@@sql_mode", {{"1"}});
  EXPECT_EQ(Codes(), "limiter_refused");
  EXPECT_EQ(Text().substr(0, 32), "resp_freq.remark has no default,");
}

TEST_F(TheLimiterCheck, MindsNoColumnThatTheServerFills) {
  server_.Answer("@@sql_mode", {{"1"}});
  for (const char* type :
       {"varchar(9)", "varchar(9) NOT NULL DEFAULT ''", "int NOT NULL AUTO_INCREMENT",
        "int NOT NULL GENERATED ALWAYS AS (rn_id)"}) {
    DefineTime("timestamp NOT NULL DEFAULT now()", std::string(",\n  `remark` ") + type);
    EXPECT_EQ(Codes(), "") << type;
  }
}

TEST_F(TheLimiterCheck, NeedsAColumnForEachIdOfARule) {
  Define("mail_resp", "`id` bigint(20) NOT NULL");
  EXPECT_EQ(Codes(), "column_type");
  EXPECT_EQ(Text(),
            "resp_freq.rn_id is of type int and mail_resp.id of type bigint: rules with large ids "
            "are not limited. alter table resp_freq modify rn_id bigint not null");
  for (const char* type : {"int", "mediumint", "smallint", "tinyint"}) {
    Define("mail_resp", std::string("`id` ") + type);
    EXPECT_EQ(Codes(), "") << type;
  }
}

TEST_F(TheLimiterCheck, NeedsEachRight) {
  for (const char* verb : {"delete from", "update", "insert into"}) {
    for (const unsigned denied : {1142U, 1143U}) {
      server_.Fail(std::string("prepare never_executed from '") + verb, denied, "denied", 1);
      EXPECT_EQ(Codes(), "right_missing") << verb;
    }
  }
  server_.Fail("prepare never_executed", 1295, "not in the protocol");
  EXPECT_EQ(Codes(), "");
}

TEST_F(TheLimiterCheck, TriesEachStatementOfATrigger) {
  server_.Answer(
      "information_schema.triggers",
      {{"counted", "BEGIN\n insert into log values ('it''s');\n delete from gone; END"}});
  EXPECT_EQ(Codes(), "");
  const auto& said = server_.statements;
  const auto has = [&](const char* text) {
    return std::find(said.begin(), said.end(), text) != said.end();
  };
  EXPECT_TRUE(has("prepare never_executed from '\n insert into log values (''it''''s'')'"));
  EXPECT_TRUE(has("prepare never_executed from 'delete from gone'"));
  const auto place = [&](const char* text) { return std::find(said.begin(), said.end(), text); };
  EXPECT_TRUE(has("set session transaction read only"));
  EXPECT_LT(place("set session transaction read write"),
            place("set session transaction read only"));
  EXPECT_EQ(said[said.size() - 1],
            "select id, mem_limit from mail_resp where mem_limit<=0 and "
            "resp_on<>'false' and @@version not like '%MariaDB%' order by "
            "id limit 1");
  server_.Fail("delete from gone", 1146, "Table 'gone' doesn't exist");
  EXPECT_EQ(Codes(), "trigger_broken");
  EXPECT_EQ(Text(),
            "The trigger counted of resp_freq fails: Table 'gone' doesn't exist. No rule "
            "replies. Make the table, or drop trigger counted");
}

TEST_F(TheLimiterCheck, NeedsRowsThatCanBeLockedForTurns) {
  server_.Answer("show table status like 'mail_resp'", {{"mail_resp", "MyISAM"}});
  EXPECT_EQ(Codes(), "");
  inspection_.switches.repairs.turns = true;
  EXPECT_EQ(Codes(), "limiter_engine");
  for (const auto& engine : {std::optional<std::string>("InnoDB"), std::optional<std::string>()}) {
    server_.Answer("show table status like 'mail_resp'", {{"mail_resp", engine}});
    EXPECT_EQ(Codes(), "");
  }
}

TEST_F(TheLimiterCheck, MindsARuleWithoutMemoryWithoutItsRepair) {
  server_.Answer("select id, mem_limit", {{"5", "0"}});
  EXPECT_EQ(Codes(), "limiter_without_memory");
  EXPECT_EQ(Text().substr(0, 46), "Rule 5 may remember no sender (mem_limit 0): t");
  inspection_.switches.repairs.evictions = true;
  EXPECT_EQ(Codes(), "");
}

}  // namespace
