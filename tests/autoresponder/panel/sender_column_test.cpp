#include "autoresponder/panel/sender_column.h"

#include <gtest/gtest.h>

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

}  // namespace
