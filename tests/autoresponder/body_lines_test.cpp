#include "autoresponder/body_lines.h"

#include <iterator>
#include <memory>
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

TEST(BodyLines, KeepWhatTheirTextStandsIn) {
  auto text = std::make_shared<const std::string>("head\none\ntwo");
  const std::weak_ptr<const std::string> seen = text;
  {
    const BodyLines lines(std::string_view(*text).substr(5), text);
    text.reset();
    EXPECT_FALSE(seen.expired());
    EXPECT_EQ(std::vector<std::string_view>(lines.begin(), lines.end()),
              (std::vector<std::string_view>{"one", "two"}));
    EXPECT_EQ(lines.FirstWith("head"), 0U);
  }
  EXPECT_TRUE(seen.expired());
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
  size_t want;
};

void PrintTo(const Key& row, std::ostream* out) {
  *out << row.name;
}

class BodyLinesKey : public testing::TestWithParam<Key> {};

TEST_P(BodyLinesKey, IsFirstFoundInLine) {
  EXPECT_EQ(BodyLines(std::string(GetParam().text)).FirstWith(GetParam().key), GetParam().want);
}

constexpr Key kKeys[] = {
    {"WholeLine", "one\ntwo\n", "two", 2},
    {"PartOfALine", "one\ntwo\n", "w", 2},
    {"LastLineWithoutNewline", "one\ntwo", "two", 2},
    {"InTwoLines", "one\ntwo\nanother two", "two", 2},
    {"BehindEmptyLines", "\n\n\nkey", "key", 4},
    {"Nowhere", "one\ntwo\n", "three", 0},
    {"OtherCase", "one\n", "One", 0},
    {"AcrossLines", "one\ntwo\n", "onetwo", 0},
    {"WithTheNewlineBetween", "one\ntwo\n", "one\ntwo", 0},
    {"WithTheNewlineBehind", "one\n", "one\n", 0},
    {"NewlineAlone", "one\n", "\n", 0},
    {"EmptyInText", "one\n", "", 1},
    {"EmptyInOneEmptyLine", "", "", 1},
    {"LongerThanTheText", "one", "one two", 0},
    {"CrAtTheEndOfALine", "one\r\n", "one\r", 1},
    {"BehindANul", "a\0key"sv, "key", 1},
    {"WithNul", "a\0b"sv, "a\0b"sv, 1},
    {"WithAnotherByteBehindNul", "a\0b"sv, "a\0c"sv, 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, BodyLinesKey, testing::ValuesIn(kKeys));

TEST(BodyLines, HoldNothingWhereThereAreNone) {
  EXPECT_EQ(BodyLines().FirstWith(""), 0U);
  EXPECT_EQ(BodyLines().FirstWith("one"), 0U);
}

TEST(BodyLines, AreSearchedInLinearTime) {
  const std::string half(500000, 'a');
  const BodyLines lines(half + half + "\n" + half);
  EXPECT_EQ(lines.FirstWith(half + "b"), 0U);
  EXPECT_EQ(lines.FirstWith("b" + half), 0U);
  EXPECT_EQ(lines.FirstWith(half), 1U);
}

}  // namespace
