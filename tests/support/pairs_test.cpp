#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/templates.h"

namespace {

using testing::ElementsAre;

// The names of a table of these pairs after it was sorted.
std::vector<std::string> sorted(std::vector<NamedValue> table) {
  sort_pairs(table.data(), static_cast<int>(table.size()));
  std::vector<std::string> names;
  for (const NamedValue& pair : table) names.emplace_back(pair.name);
  return names;
}

TEST(SortPairs, SortsByName) {
  EXPECT_THAT(sorted({{"c", "1"}, {"a", "2"}, {"b", "3"}}), ElementsAre("a", "b", "c"));
  EXPECT_THAT(sorted({{"b", "1"}, {"a", "2"}}), ElementsAre("a", "b"));
  EXPECT_THAT(sorted({{"a", "1"}, {"b", "2"}}), ElementsAre("a", "b"));
}

TEST(SortPairs, SortsInByteOrder) {
  EXPECT_THAT(
      sorted({{"\xC3\xBC", ""}, {"z", ""}, {"ab", ""}, {"_", ""}, {"a", ""}, {"Z", ""}, {"", ""}}),
      ElementsAre("", "Z", "_", "a", "ab", "z", "\xC3\xBC"));
}

TEST(SortPairs, MovesValuesWithTheirNames) {
  NamedValue table[] = {{"c", "3"}, {"b", nullptr}, {"a", "1"}};
  sort_pairs(table, 3);
  EXPECT_STREQ(table[0].value, "1");
  EXPECT_EQ(table[1].value, nullptr);
  EXPECT_STREQ(table[2].value, "3");
}

TEST(SortPairs, KeepsEveryValueOfEqualNames) {
  NamedValue table[] = {{"b", "1"}, {"a", "2"}, {"b", "3"}, {"a", "4"}, {"b", "5"}};
  sort_pairs(table, 5);
  std::string of_a = std::string(table[0].value) + table[1].value;
  std::string of_b = std::string(table[2].value) + table[3].value + table[4].value;
  std::sort(of_a.begin(), of_a.end());
  std::sort(of_b.begin(), of_b.end());
  EXPECT_EQ(of_a, "24");
  EXPECT_EQ(of_b, "135");
}

TEST(SortPairs, DoesNothingForACountOfZeroOrLess) {
  NamedValue table[] = {{"b", "1"}, {"a", "2"}};
  sort_pairs(table, 0);
  sort_pairs(table, -2);
  sort_pairs(nullptr, 0);
  EXPECT_STREQ(table[0].name, "b");
  EXPECT_STREQ(table[1].name, "a");
}

TEST(SortPairs, LeavesOnePairAlone) {
  EXPECT_THAT(sorted({{"a", "1"}}), ElementsAre("a"));
}

TEST(SortPairs, TouchesOnlyTheCountedPairs) {
  NamedValue table[] = {{"c", ""}, {"b", ""}, {"a", ""}};
  sort_pairs(table, 2);
  EXPECT_STREQ(table[0].name, "b");
  EXPECT_STREQ(table[1].name, "c");
  EXPECT_STREQ(table[2].name, "a");
}

constexpr int kMany = 100000;

// Six-digit names, the name at each index as `order` says.
template <class Order>
std::vector<std::string> many_names(Order order, int count = kMany) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) {
    char name[16];
    snprintf(name, sizeof name, "%06d", order(i));
    names.emplace_back(name);
  }
  return names;
}

// Sorts a large table and looks whether it is in order and has the same names.
void expect_sorts(std::vector<std::string> names) {
  std::vector<NamedValue> table;
  for (const std::string& name : names) table.push_back({name.c_str(), nullptr});
  sort_pairs(table.data(), static_cast<int>(table.size()));
  std::vector<std::string> got;
  for (const NamedValue& pair : table) got.emplace_back(pair.name);
  std::sort(names.begin(), names.end());
  EXPECT_TRUE(got == names);
}

TEST(SortManyPairs, InOrder) {
  expect_sorts(many_names([](int i) { return i; }));
}

TEST(SortManyPairs, InReverseOrder) {
  expect_sorts(many_names([](int i) { return kMany - i; }));
}

TEST(SortManyPairs, AllEqual) {
  expect_sorts(many_names([](int) { return 42; }));
}

TEST(SortManyPairs, OfTwoNames) {
  expect_sorts(many_names([](int i) { return i % 2; }));
}

// The middle element is the worst pivot for these, so there are fewer of them.
TEST(SortManyPairs, UpAndDown) {
  expect_sorts(many_names([](int i) { return std::min(i, 5000 - i); }, 5000));
}

TEST(SortManyPairs, DownAndUp) {
  expect_sorts(many_names([](int i) { return std::max(i, 5000 - i); }, 5000));
}

TEST(SortManyPairs, InNoOrder) {
  expect_sorts(many_names([](int i) { return static_cast<int>(i * 7919L % 65537); }));
}

TEST(FindPair, FindsTheOneElement) {
  const NamedValue table[] = {{"b", "1"}};
  EXPECT_EQ(find_pair("b", table, 1), 0);
  EXPECT_EQ(find_pair("a", table, 1), -1);
  EXPECT_EQ(find_pair("c", table, 1), -1);
  EXPECT_EQ(find_pair("", table, 1), -1);
}

TEST(FindPair, FindsEveryElementOfATable) {
  const NamedValue table[] = {{"a", ""}, {"b", ""}, {"d", ""}, {"e", ""}, {"f", ""}};
  const char* const names[] = {"a", "b", "d", "e", "f"};
  for (int count = 1; count <= 5; ++count) {
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(find_pair(names[i], table, count), i < count ? i : -1) << count << names[i];
    }
    EXPECT_EQ(find_pair("c", table, count), -1);
  }
}

TEST(FindPair, ComparesTheWholeName) {
  const NamedValue table[] = {{"ab", ""}, {"abc", ""}, {"b", ""}};
  EXPECT_EQ(find_pair("a", table, 3), -1);
  EXPECT_EQ(find_pair("abcd", table, 3), -1);
  EXPECT_EQ(find_pair("AB", table, 3), -1);
}

TEST(FindPair, OrdersEightBitBytesAfterAscii) {
  const NamedValue table[] = {{"z", ""}, {"\xC3\xBC", ""}};
  EXPECT_EQ(find_pair("\xC3\xBC", table, 2), 1);
  EXPECT_EQ(find_pair("z", table, 2), 0);
}

TEST(FindPair, FindsOneOfEqualNames) {
  const NamedValue table[] = {{"a", ""}, {"b", ""}, {"b", ""}, {"b", ""}, {"c", ""}};
  const int index = find_pair("b", table, 5);
  ASSERT_GE(index, 1);
  EXPECT_LE(index, 3);
}

TEST(FindPair, FindsNothingInNothing) {
  const NamedValue table[] = {{"a", ""}};
  EXPECT_EQ(find_pair(nullptr, table, 1), -1);
  EXPECT_EQ(find_pair("a", nullptr, 1), -1);
  EXPECT_EQ(find_pair("a", table, 0), -1);
  EXPECT_EQ(find_pair("a", table, -1), -1);
}

}  // namespace
