#include "autoresponder/message/body_lines.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/message/incoming_message.h"

using namespace std::string_view_literals;

namespace {

std::string text_of(const BodyLines& lines) {
  std::string text;
  lines.WriteTo([&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

size_t first_with(BodyLines& lines, std::string_view key) {
  return lines.FirstWith({key})[0];
}

std::shared_ptr<const std::string> shared(std::string text) {
  return std::make_shared<const std::string>(std::move(text));
}

TEST(BodyLines, AreOneOfAnEmptyText) {
  BodyLines lines("");
  EXPECT_EQ(first_with(lines, ""), 1U);
  EXPECT_EQ(text_of(lines), "");
}

TEST(BodyLines, AreTheSameWhenMoved) {
  BodyLines lines("one\ntwo");
  const BodyLines moved = std::move(lines);
  EXPECT_EQ(text_of(moved), "one\ntwo");
}

TEST(BodyLines, KeepTheMemoryOfTheirText) {
  std::weak_ptr<const std::string> watched;
  {
    auto text = shared("skip\none\ntwo");
    watched = text;
    BodyLines lines(std::string_view(*text).substr(5), text);
    text.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(text_of(lines), "one\ntwo");
  }
  EXPECT_TRUE(watched.expired());
}

struct Key : NamedRow {
  std::string_view text;
  std::string_view key;
  size_t want;
};

class BodyLinesKey : public testing::TestWithParam<Key> {};

TEST_P(BodyLinesKey, IsFirstFoundInLine) {
  BodyLines lines{std::string(GetParam().text)};
  EXPECT_EQ(first_with(lines, GetParam().key), GetParam().want);
}

constexpr Key kKeys[] = {
    {"WholeLine", "one\ntwo\n", "two", 2},
    {"PartOfALine", "one\ntwo\n", "w", 2},
    {"LastLineWithoutNewline", "one\ntwo", "two", 2},
    {"InTwoLines", "one\ntwo\nanother two", "two", 2},
    {"AfterEmptyLines", "\n\n\nkey", "key", 4},
    {"Nowhere", "one\ntwo\n", "three", 0},
    {"OtherCase", "one\n", "One", 0},
    {"AcrossLines", "one\ntwo\n", "onetwo", 0},
    {"WithTheNewlineBetween", "one\ntwo\n", "one\ntwo", 0},
    {"WithTheNewlineAfter", "one\n", "one\n", 0},
    {"NewlineAlone", "one\n", "\n", 0},
    {"EmptyInText", "one\n", "", 1},
    {"EmptyInOneEmptyLine", "", "", 1},
    {"LongerThanTheText", "one", "one two", 0},
    {"CrAtTheEndOfALine", "one\r\n", "one\r", 1},
    {"AfterANul", "a\0key"sv, "key", 1},
    {"WithNul", "a\0b"sv, "a\0b"sv, 1},
    {"WithAnotherByteAfterNul", "a\0b"sv, "a\0c"sv, 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, BodyLinesKey, testing::ValuesIn(kKeys));

TEST(Body, HoldsNothingWhereThereAreNoLines) {
  EXPECT_EQ(Body().FirstWith({"", "one"}), (std::vector<size_t>{0, 0}));
}

TEST(Body, IsNeverMissing) {
  EXPECT_EQ(IncomingMessage().body_lines->FirstWith({""}), std::vector<size_t>{0});
}

TEST(BodyLines, AreSearchedInLinearTime) {
  const std::string half(500000, 'a');
  BodyLines lines(half + half + "\n" + half);
  EXPECT_EQ(first_with(lines, half + "b"), 0U);
  EXPECT_EQ(first_with(lines, "b" + half), 0U);
  EXPECT_EQ(first_with(lines, half), 1U);
}

// The text is larger than the piece that is searched at a time; the key is at different places of a
// piece, and across two.
TEST(BodyLines, AreSearchedInAnotherCharset) {
  const std::string umlaut = "\xC3\xBC";
  for (const size_t before : {0U, 1U, 300U, 65530U, 65535U, 65536U, 65537U, 131070U, 200000U}) {
    for (const std::string ending : {"", "\nend"}) {
      const auto text = shared(std::string(before, '\n') + "a\xFC\xFCz" + ending);
      BodyLines lines(*text, text, "ISO-8859-15");
      SCOPED_TRACE(before);
      EXPECT_EQ(first_with(lines, "a" + umlaut), before + 1);
      EXPECT_EQ(first_with(lines, umlaut + "z"), before + 1);
      EXPECT_EQ(first_with(lines, "end"), ending.empty() ? 0 : before + 2);
      EXPECT_EQ(first_with(lines, umlaut + umlaut + umlaut), 0U);
      EXPECT_EQ(first_with(lines, ""), 1U);
      EXPECT_EQ(first_with(lines, "z\n"), 0U);
    }
  }
}

TEST(BodyLines, FindAKeyLongerThanWhatIsSearchedAtOnce) {
  const std::string key(200000, 'k');
  const auto text = shared("one\n\xE4" + key + "\nthree");
  BodyLines lines(*text, text, "KOI8-R");
  EXPECT_EQ(first_with(lines, key), 2U);
  EXPECT_EQ(first_with(lines, key + "k"), 0U);
}

// A short key, one that is longer than a piece, and some that are not in the text.
TEST(BodyLines, AreSearchedForManyKeysInAnotherCharset) {
  const std::string umlaut = "\xC3\xBC";
  const std::string longest(100000, 'k');
  const auto text = shared(std::string(70000, '\n') + "\xFC" + longest + "\n\nend\xFC");
  BodyLines lines(*text, text, "ISO-8859-15");
  const std::vector<std::string> keys = {"end" + umlaut, longest, "", "\n", "none", umlaut, "k"};
  const std::vector<std::string_view> views(keys.begin(), keys.end());
  EXPECT_EQ(lines.FirstWith(views), (std::vector<size_t>{70003, 70001, 1, 0, 0, 70001, 70001}));
}

// The text is converted once for all keys.
TEST(BodyLines, AreSearchedForManyKeysAsFastAsForOne) {
  const auto text = shared(std::string(3000000, 'a') + "\xE4");
  BodyLines lines(*text, text, "TSCII");
  const auto time_of = [&lines](size_t count) {
    const auto start = std::chrono::steady_clock::now();
    const std::vector<std::string_view> keys(count, "none");
    EXPECT_EQ(lines.FirstWith(keys), std::vector<size_t>(count, 0));
    return std::chrono::steady_clock::now() - start;
  };
  EXPECT_LT(time_of(30), 10 * time_of(1));
}

TEST(BodyLines, AreSearchedForALongKeyInLinearTime) {
  const auto text = shared(std::string(20000000, 'a') + "\xE4");
  BodyLines lines(*text, text, "ISO-8859-15");
  EXPECT_EQ(first_with(lines, std::string(9000000, 'a') + "b"), 0U);
  EXPECT_EQ(first_with(lines, std::string(9000000, 'a')), 1U);
}

TEST(BodyLines, AreSearchedInAnotherCharsetInLinearTime) {
  const auto text = shared(std::string(2000000, 'a') + "\xE4");
  BodyLines lines(*text, text, "KOI8-R");
  EXPECT_EQ(first_with(lines, std::string(100000, 'a') + "b"), 0U);
}

}  // namespace
