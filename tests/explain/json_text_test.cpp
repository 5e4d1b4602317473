#include "explain/json_text.h"

#include <sstream>

#include <gtest/gtest.h>

#include "../named_row.h"

namespace {

struct Row : NamedRow {
  const char* column;
  const char* expected;
};

class NumberOf : public testing::TestWithParam<Row> {};

TEST_P(NumberOf, IsANumberOnlyWhereTheColumnHoldsOne) {
  EXPECT_EQ(number_of(GetParam().column).dump(), GetParam().expected);
}

constexpr Row kRows[] = {
    {"Number", "12", "12"},
    {"Negative", "-1", "-1"},
    {"Largest", "9223372036854775807", "9223372036854775807"},
    {"TooLarge", "9223372036854775808", "\"9223372036854775808\""},
    {"Fraction", "1.5", "\"1.5\""},
    {"WithABlank", "1 ", "\"1 \""},
    {"Text", "ten", "\"ten\""},
    {"Empty", "", "\"\""},
};

INSTANTIATE_TEST_SUITE_P(Columns, NumberOf, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

std::string written(const std::string& text, bool on_terminal) {
  std::ostringstream out;
  write_json_text(out, text, on_terminal);
  return out.str();
}

TEST(WriteJsonText, WritesOnlyAsciiOnATerminal) {
  EXPECT_EQ(written("\u00e9\u202e\x1b", true), "\"\\u00e9\\u202e\\u001b\"\n");
  EXPECT_EQ(written("\u00e9", false), "\"\u00e9\"\n");
}

TEST(WriteJsonText, ReplacesMalformedUtf8) {
  EXPECT_EQ(written("a\xff", false), "\"a\uFFFD\"\n");
}

}  // namespace
