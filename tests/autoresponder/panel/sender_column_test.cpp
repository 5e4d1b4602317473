#include "autoresponder/panel/sender_column.h"

#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "../../named_row.h"

namespace {

struct CutRow : NamedRow {
  const char* text;
  size_t max_count;
  const char* want;
};

class FirstCharacters : public testing::TestWithParam<CutRow> {};

TEST_P(FirstCharacters, AreCountedInUtf8) {
  EXPECT_EQ(first_characters(GetParam().text, GetParam().max_count), GetParam().want);
}

constexpr CutRow kCutRows[] = {
    {"Nothing", "", 3, ""},
    {"NoRoom", "abc", 0, ""},
    {"Shorter", "ab", 3, "ab"},
    {"JustFits", "abc", 3, "abc"},
    {"Longer", "abcd", 3, "abc"},
    {"TwoBytes", "\xC3\xBC\xC3\xBC\xC3\xBC", 2, "\xC3\xBC\xC3\xBC"},
    {"FourBytes", "a\xF0\x9F\x98\x80z", 2, "a\xF0\x9F\x98\x80"},
    {"StrayContinuation", "a\x80\x80z", 1, "a\x80\x80"},
};

INSTANTIATE_TEST_SUITE_P(Rows, FirstCharacters, testing::ValuesIn(kCutRows));

TEST(FirstBytes, SplitNoCharacter) {
  EXPECT_EQ(first_bytes("abc", 3), "abc");
  EXPECT_EQ(first_bytes("abcd", 3), "abc");
  EXPECT_EQ(first_bytes("a\xC3\xBC", 2), "a");
  EXPECT_EQ(first_bytes("\xF0\x9F\x98\x80", 3), "");
}

struct Column : NamedRow {
  const char* definition;
  const char* held;  // of the sender below
};

class TheColumnOfSenders : public testing::TestWithParam<Column> {};

TEST_P(TheColumnOfSenders, HoldsWhatFits) {
  FakeDatabase server;
  server.Answer("show create table resp_freq",
                {{"resp_freq", std::string("CREATE TABLE `resp_freq` (\n  `email` ") +
                                   GetParam().definition + "\n) ENGINE=InnoDB"}});
  PanelDatabase database(FakeDatabase::Open);
  EXPECT_EQ(held_sender(database, "\xC3\xBC\xF0\x9F\x98\x80@x"), GetParam().held);
}

constexpr Column kColumns[] = {
    {"Characters", "varchar(3) CHARACTER SET utf8mb4", "\xC3\xBC\xF0\x9F\x98\x80@"},
    {"CharactersOfThreeBytes", "char(7) CHARACTER SET utf8mb3", "\xC3\xBC????@x"},
    {"CharactersOfThreeBytesByTheirOldName", "varchar(3) CHARACTER SET utf8", "\xC3\xBC??"},
    {"Bytes", "varchar(5) CHARACTER SET latin1", "\xC3\xBC"},
    {"AnyText", "text CHARACTER SET utf8mb4", "\xC3\xBC\xF0\x9F\x98\x80@x"},
};

INSTANTIATE_TEST_SUITE_P(Rows, TheColumnOfSenders, testing::ValuesIn(kColumns));

}  // namespace
