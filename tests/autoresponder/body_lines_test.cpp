#include "autoresponder/body_lines.h"

#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

struct Text {
  const char* name;
  std::string_view text;
  std::vector<std::string_view> want;
};

void PrintTo(const Text& row, std::ostream* out) {
  *out << row.name;
}

class BodyLinesText : public testing::TestWithParam<Text> {};

TEST_P(BodyLinesText, HasTheLines) {
  const BodyLines lines{std::string(GetParam().text)};
  EXPECT_EQ(std::vector<std::string_view>(lines.begin(), lines.end()), GetParam().want);
  EXPECT_FALSE(lines.empty());
}

const Text kTexts[] = {
    {"OneEmptyLineOfNothing", "", {""}},
    {"OneLine", "text", {"text"}},
    {"EmptyLastLine", "text\n", {"text", ""}},
    {"TwoLines", "one\ntwo", {"one", "two"}},
    {"NewlineAlone", "\n", {"", ""}},
    {"EmptyLines", "\n\none\n\n\ntwo\n", {"", "", "one", "", "", "two", ""}},
    {"CrsKept", "one\r\n\r\n", {"one\r", "\r", ""}},
    {"NulsKept", "a\0b\n\0"sv, {"a\0b"sv, "\0"sv}},
};

INSTANTIATE_TEST_SUITE_P(Rows, BodyLinesText, testing::ValuesIn(kTexts));

TEST(BodyLines, AreNoneAtFirst) {
  const BodyLines lines;
  EXPECT_TRUE(lines.empty());
  EXPECT_TRUE(lines.begin() == lines.end());
}

TEST(BodyLines, CanBeWalkedAgain) {
  const BodyLines lines("one\ntwo");
  EXPECT_EQ(std::distance(lines.begin(), lines.end()), 2);
  EXPECT_EQ(std::distance(lines.begin(), lines.end()), 2);
}

TEST(BodyLines, AreTheSameWhenMoved) {
  BodyLines lines;
  lines = BodyLines("one\ntwo");
  const BodyLines moved = std::move(lines);
  EXPECT_EQ(std::vector<std::string_view>(moved.begin(), moved.end()),
            (std::vector<std::string_view>{"one", "two"}));
}

TEST(BodyLinesIterator, StepsBeforeAndAfterItsValue) {
  const BodyLines lines("one\ntwo\nthree");
  auto line = lines.begin();
  EXPECT_EQ(*line++, "one");
  EXPECT_EQ(*line, "two");
  EXPECT_EQ(*++line, "three");
  EXPECT_EQ(line->size(), 5U);
  EXPECT_TRUE(++line == lines.end());
}

TEST(BodyLinesIterator, LeavesItsCopiesWhereTheyAre) {
  const BodyLines lines("one\ntwo");
  auto line = lines.begin();
  const auto copy = line;
  EXPECT_TRUE(line == copy);
  ++line;
  EXPECT_TRUE(line != copy);
  EXPECT_EQ(*copy, "one");
}

TEST(BodyLinesIterator, TellsAnEmptyLastLineFromTheEnd) {
  const BodyLines lines("one\n");
  auto line = lines.begin();
  ++line;
  EXPECT_TRUE(line != lines.end());
  EXPECT_EQ(*line, "");
  ++line;
  EXPECT_TRUE(line == lines.end());
}

TEST(BodyLines, AreWalkedByTheMillion) {
  const BodyLines lines(std::string(1000000, '\n'));
  EXPECT_EQ(std::distance(lines.begin(), lines.end()), 1000001);
}

struct Key {
  const char* name;
  std::string_view text;
  std::string_view key;
  bool want;
};

void PrintTo(const Key& row, std::ostream* out) {
  *out << row.name;
}

class BodyLinesKey : public testing::TestWithParam<Key> {};

TEST_P(BodyLinesKey, IsContained) {
  EXPECT_EQ(BodyLines(std::string(GetParam().text)).Contain(GetParam().key), GetParam().want);
}

constexpr Key kKeys[] = {
    {"WholeLine", "one\ntwo\n", "two", true},
    {"PartOfALine", "one\ntwo\n", "w", true},
    {"LastLineWithoutNewline", "one\ntwo", "two", true},
    {"Nowhere", "one\ntwo\n", "three", false},
    {"OtherCase", "one\n", "One", false},
    {"AcrossLines", "one\ntwo\n", "onetwo", false},
    {"WithTheNewlineBetween", "one\ntwo\n", "one\ntwo", false},
    {"WithTheNewlineBehind", "one\n", "one\n", false},
    {"NewlineAlone", "one\n", "\n", false},
    {"EmptyInText", "one\n", "", true},
    {"EmptyInOneEmptyLine", "", "", true},
    {"LongerThanTheText", "one", "one two", false},
    {"CrAtTheEndOfALine", "one\r\n", "one\r", true},
    {"BehindANul", "a\0key"sv, "key", true},
    {"WithNul", "a\0b"sv, "a\0b"sv, true},
    {"WithAnotherByteBehindNul", "a\0b"sv, "a\0c"sv, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, BodyLinesKey, testing::ValuesIn(kKeys));

TEST(BodyLines, ContainNothingWhereThereAreNone) {
  EXPECT_FALSE(BodyLines().Contain(""));
  EXPECT_FALSE(BodyLines().Contain("one"));
}

TEST(BodyLines, AreSearchedInLinearTime) {
  const std::string half(500000, 'a');
  const BodyLines lines(half + half + "\n" + half);
  EXPECT_FALSE(lines.Contain(half + "b"));
  EXPECT_FALSE(lines.Contain("b" + half));
  EXPECT_TRUE(lines.Contain(half));
}

}  // namespace
