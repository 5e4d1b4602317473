#include "autoresponder/panel/table_definition.h"

#include <ostream>

#include <gtest/gtest.h>

namespace {

constexpr const char* kMariaDb =
    "CREATE TABLE `resp_freq` (\n"
    "  `rn_id` int(10) unsigned NOT NULL,\n"
    "  `email` varchar(320) CHARACTER SET latin1 COLLATE latin1_swedish_ci NOT NULL,\n"
    "  `Note` text DEFAULT NULL,\n"
    "  `time_resp` timestamp NOT NULL DEFAULT current_timestamp(),\n"
    "  KEY `rn_id` (`rn_id`,`email`)\n"
    ") ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci";

TEST(TableDefinition, HasEveryColumn) {
  const TableDefinition table = parse_table_definition(kMariaDb);
  ASSERT_EQ(table.size(), 4U);
  EXPECT_EQ(table.at("rn_id").type, "int");
  EXPECT_TRUE(table.at("rn_id").IsInteger());
  EXPECT_EQ(table.at("email").type, "varchar");
  EXPECT_EQ(table.at("email").size, 320);
  EXPECT_EQ(table.at("note").type, "text");
  EXPECT_EQ(table.at("note").size, 0);
}

TEST(TableDefinition, HasTheCharsetOfTheColumnOrOfTheTable) {
  const TableDefinition table = parse_table_definition(kMariaDb);
  EXPECT_EQ(table.at("email").charset, "latin1");
  EXPECT_EQ(table.at("note").charset, "utf8mb4");
}

TEST(TableDefinition, HasWhatFollowsTheTypeInLowerCase) {
  const TableDefinition table = parse_table_definition(kMariaDb);
  EXPECT_TRUE(table.at("time_resp").Has("not null default current_timestamp"));
  EXPECT_FALSE(table.at("note").Has("not null"));
}

TEST(TableDefinition, IsReadInTheOtherQuotesToo) {
  const TableDefinition table = parse_table_definition(
      "CREATE TABLE \"t\" (\n  \"a b\" int unsigned NOT NULL,\n  PRIMARY KEY (\"a b\")\n)");
  ASSERT_EQ(table.size(), 1U);
  EXPECT_EQ(table.at("a b").type, "int");
}

TEST(TableDefinition, OfAViewHasNoColumns) {
  EXPECT_TRUE(parse_table_definition("CREATE VIEW `v` AS select `t`.`a` AS `a` from `t`").empty());
  EXPECT_TRUE(parse_table_definition("").empty());
}

}  // namespace
