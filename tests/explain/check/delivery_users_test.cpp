#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "explain/check/mail_server.h"

namespace {

class ADeliveryUser : public testing::Test {
 protected:
  // The users of a users/assign with these lines.
  DeliveryUsers UsersOf(const std::string& lines) {
    inspection_.qmail_root = directory_.Path("");
    std::filesystem::create_directory(directory_.Path("users"));
    std::ofstream(directory_.Path("users/assign")) << lines;
    return DeliveryUsers(inspection_);
  }
  std::vector<std::string> Codes() const {
    std::vector<std::string> codes;
    for (const Finding& finding : inspection_.findings) codes.emplace_back(finding.code);
    return codes;
  }

 private:
  ScratchDirectory directory_;
  Inspection inspection_;
};

struct Row : NamedRow {
  const char* local;
  unsigned group;
  const char* file;  // dash and extension
};

class FoundUser : public ADeliveryUser, public testing::WithParamInterface<Row> {};

TEST_P(FoundUser, IsTheOneWhomTheMailServerTakes) {
  const DeliveryUsers users = UsersOf(
      "+d17-:shop:5001:1:/home/shop:-::\n"
      "+d17-sales-:shop:5001:2:/home/shop:-:team-:\n"
      "=d17-info:shop:5001:3:/home/shop:-:own:\n"
      "=d17-INFO:shop:5001:4:/home/shop:-:second:\n"
      "+D18-:shop:5001:5:/home/shop:::\n"
      "+short-:shop:5001:6:/home/shop\n"
      ".\n");
  const auto user = users.Find(GetParam().local);
  ASSERT_TRUE(user);
  EXPECT_EQ(user->group, GetParam().group);
  EXPECT_EQ(user->home, "/home/shop");
  EXPECT_EQ(user->dash + user->extension, GetParam().file);
}

constexpr Row kRows[] = {
    {"OfThePrefix", "d17-otto", 1, "-otto"},
    {"OfTheLongestBeginning", "d17-sales-eu", 2, "-team-eu"},
    {"OfTheWholeLocalPartFirst", "d17-info", 3, "-own"},
    {"OfTheFirstLineForALocalPart", "D17-Info", 3, "-own"},
    {"WhateverTheCase", "d18-Otto", 5, "Otto"},
};

INSTANTIATE_TEST_SUITE_P(Lines, FoundUser, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(ADeliveryUser, IsNobodyWithoutALine) {
  const DeliveryUsers users = UsersOf("+d17-:shop:5001:1:/home/shop:-::\n+short-:s:1:1:/\n.\n");
  EXPECT_FALSE(users.Find("no.such.account-info"));
  EXPECT_FALSE(users.Find("short-info"));
  EXPECT_EQ(Codes(), std::vector<std::string>());
}

TEST_F(ADeliveryUser, IsNobodyInALineAfterTheDot) {
  EXPECT_FALSE(UsersOf(".\n+d17-:shop:5001:1:/home/shop:-::\n").Find("d17-info"));
  EXPECT_EQ(Codes(), std::vector<std::string>{"assign_after_dot"});
}

TEST_F(ADeliveryUser, NeedsALineWithADot) {
  UsersOf("+d17-:shop:5001:1:/home/shop:-::\n");
  EXPECT_EQ(Codes(), std::vector<std::string>{"assign_unfinished"});
}

}  // namespace
