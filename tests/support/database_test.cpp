#include "support/database.h"

#include <optional>

#include <gtest/gtest.h>

#include "../fake_database.h"
#include "../named_row.h"
#include "reported.h"

namespace {

TEST(AQueriedValue, IsThatOfTheColumn) {
  FakeDatabase server;
  EXPECT_STREQ(query_value("select 1", FakeDatabase::Open(), 0), "");
  server.Answer("select", {{"a", "b", std::nullopt}});
  EXPECT_STREQ(query_first_value("select 1", FakeDatabase::Open()), "a");
  EXPECT_STREQ(query_value("select 1", FakeDatabase::Open(), 1), "b");
  EXPECT_STREQ(query_value("select 1", FakeDatabase::Open(), 2), "");
  EXPECT_STREQ(query_value("select 1", FakeDatabase::Open(), 3), "");
  server.Fail("select", 1146, "no table");
  EXPECT_EQ(reported_by([](MYSQL* connection) {
              EXPECT_EQ(query_first_value("select 1", connection), nullptr);
            }),
            "Unable to query parameter by query select 1: no table\n");
}

struct Session : NamedRow {
  const char* version;
  const char* setting;
  int mode;
  size_t statements;
};

class TheCharsetOfASession : public testing::TestWithParam<Session> {
 protected:
  TheCharsetOfASession() { db_utf8_mode = -1; }
  ~TheCharsetOfASession() override { db_utf8_mode = -1; }
};

TEST_P(TheCharsetOfASession, FollowsTheSettingWhereTheServerKnowsCharsets) {
  FakeDatabase server;
  server.Answer("SHOW VARIABLES LIKE 'version'", {{"version", GetParam().version}});
  server.Answer("SELECT val FROM misc WHERE param='mysql41_compatible'", {{GetParam().setting}});
  char error[100] = "";
  EXPECT_EQ(db_set_charset(FakeDatabase::Open(), error, sizeof error), 0);
  EXPECT_EQ(db_get_utf8_mode(), GetParam().mode);
  ASSERT_EQ(server.statements.size(), GetParam().statements);
  if (GetParam().statements == 3) {
    EXPECT_EQ(server.statements[2], GetParam().mode == 1 ? "SET NAMES utf8" : "SET NAMES binary");
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, TheCharsetOfASession,
                         testing::Values(Session{{"Set"}, "4.1.0", "true", 1, 3},
                                         Session{{"SetInOtherWords"}, "11.8.6", "False", 1, 3},
                                         Session{{"NotSet"}, "10.11.14", "false", 0, 3},
                                         Session{{"Empty"}, "10.11.14", "", 0, 3},
                                         Session{{"Version3"}, "3.23.58", "true", 0, 1},
                                         Session{{"Version4"}, "4.0.27", "true", 0, 1}),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(TheCharsetOfASession, IsNotSetWhereAStatementFails) {
  FakeDatabase server;
  char error[100] = "";
  const auto try_it = [&error] {
    EXPECT_EQ(db_set_charset(FakeDatabase::Open(), error, sizeof error), -1);
    return std::string(error);
  };
  EXPECT_EQ(try_it(), "DB error (fetch version row): unknown error");
  server.Answer("SHOW VARIABLES LIKE 'version'", {{"version", std::nullopt}});
  EXPECT_EQ(try_it(), "DB error (empty version result): unknown error");
  server.Answer("SHOW VARIABLES LIKE 'version'", {{"version", "10.11.14"}});
  server.Fail("SET NAMES binary", 1146, "no");
  EXPECT_EQ(try_it(), "DB error (set names query) 1146: no");
  EXPECT_EQ(db_get_utf8_mode(), 0);
  server.Fail("mysql41_compatible", 1146, "no");
  EXPECT_EQ(try_it(), "DB error (mysql41 compatible query) 1146: no");
  server.Fail("SHOW VARIABLES", 1146, "no");
  EXPECT_EQ(try_it(), "DB error (query version) 1146: no");
}

}  // namespace
