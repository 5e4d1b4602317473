#include "support/strings.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../fake_database.h"
#include "../named_row.h"
#include "support/base/owned.h"

// Makes a failed allocation return null, as without sanitizers.
extern "C" const char* __asan_default_options();   // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "allocator_may_return_null=1";
}

using namespace std::string_view_literals;

namespace {

struct Trimmed : NamedRow {
  const char* text;
  const char* want;
  size_t leading;
};

class StrTrim : public testing::TestWithParam<Trimmed> {};

TEST_P(StrTrim, ReturnsTheTextInItsBuffer) {
  const Trimmed& row = GetParam();
  std::string buffer = row.text;
  char* const got = str_trim(buffer.data());
  EXPECT_STREQ(got, row.want);
  EXPECT_EQ(got, buffer.data() + row.leading);
}

constexpr Trimmed kTrimmed[] = {
    {"Empty", "", "", 0},
    {"PlainText", "text", "text", 0},
    {"BlanksAtTheEnd", "text  ", "text", 0},
    {"BlanksAtTheStart", "  text", "text", 2},
    {"BlanksAtBothEnds", " text ", "text", 1},
    {"BlanksInside", " a  b ", "a  b", 1},
    {"EveryKindOfWhiteSpace", "\t\n\v\f\r text \t\n\v\f\r", "text", 6},
    {"BlanksAlone", "   ", "", 0},
    {"OneBlank", " ", "", 0},
    {"NoBreakSpaceIsText", "\xA0text\xA0", "\xA0text\xA0", 0},
    {"OtherControlCharactersAreText", "\x01text\x7F", "\x01text\x7F", 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, StrTrim, testing::ValuesIn(kTrimmed));

TEST(StrTrimInPlace, OverwritesOnlyTheEndWithNuls) {
  char buffer[] = "  a b\t \n\0#";
  str_trim(buffer);
  EXPECT_EQ(std::string_view(buffer, sizeof buffer), "  a b\0\0\0\0#\0"sv);
}

TEST(SqlEscape, ReturnsNullForNull) {
  EXPECT_EQ(sql_escape(FakeDatabase::Open(), nullptr), nullptr);
}

TEST(SqlEscape, EscapesWhatWouldLeaveALiteral) {
  const OwnedText escaped(sql_escape(FakeDatabase::Open(), "a'b\"c\\d\ne"));
  EXPECT_STREQ(escaped.get(), R"(a\'b\"c\\d\ne)");
}

TEST(SqlEscape, DoublesATextOfQuotes) {
  const OwnedText escaped(sql_escape(FakeDatabase::Open(), std::string(1000, '\'').c_str()));
  ASSERT_EQ(strlen(escaped.get()), 2000U);
  EXPECT_STREQ(escaped.get() + 1996, R"(\'\')");
}

TEST(SqlEscape, LeavesPlainTextUnchanged) {
  const OwnedText empty(sql_escape(FakeDatabase::Open(), ""));
  EXPECT_STREQ(empty.get(), "");
  const OwnedText plain(sql_escape(FakeDatabase::Open(), "info@example.com %_;--"));
  EXPECT_STREQ(plain.get(), "info@example.com %_;--");
}

TEST(Xmalloc, ReturnsMemoryThatCanBeWritten) {
  const OwnedText memory(static_cast<char*>(xmalloc(1000)));
  ASSERT_NE(memory, nullptr);
  memset(memory.get(), 'x', 1000);
  EXPECT_EQ(memory.get()[999], 'x');
}

TEST(XmallocDeathTest, EndsTheProcessWithoutMemory) {
  EXPECT_EXIT(OwnedText(static_cast<char*>(xmalloc(SIZE_MAX / 2))), testing::ExitedWithCode(1),
              testing::HasSubstr("alloc(-1)\nSystem error 12: Cannot allocate memory\n"));
}

}  // namespace
