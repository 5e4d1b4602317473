#include <climits>
#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/report.h"
#include "support/strings.h"

namespace {

struct Replacement {
  const char* source;
  const char* find;
  const char* replacement;
  size_t size;
  const char* expected;
};

TEST(StrnReplace, ReplacesWhileThePiecesFit) {
  const Replacement rows[] = {
      {"abcabc", "b", "X", 100, "aXcaXc"},
      {"abcabc", "b", "", 100, "acac"},
      {"abc", "abc", "", 100, ""},
      {"", "b", "X", 100, ""},
      {"abc", "x", "Y", 100, "abc"},
      {"aaa", "aa", "b", 100, "ba"},
      {"aaaa", "aa", "aaa", 100, "aaaaaa"},
      {"ababab", "abab", "x", 100, "xab"},
      {"aXb", "X", "XX", 100, "aXXb"},
      // Exactly below the size, at it, above it.
      {"abc", "b", "BBB", 6, "aBBBc"},
      {"abc", "b", "BBB", 5, "aBBB"},
      {"abc", "b", "BBB", 4, "abc"},
      {"abc", "b", "BBBB", 3, "a"},
      {"abcdef", "e", "E", 4, ""},
      {"abcdef", "x", "E", 6, ""},
      {"abcdef", "x", "E", 7, "abcdef"},
      {"abc", "b", "X", 1, ""},
  };
  for (const Replacement& row : rows) {
    char destination[101];
    memset(destination, '#', sizeof destination);
    EXPECT_EQ(strn_replace(row.source, destination, row.find, row.replacement, row.size),
              destination);
    EXPECT_STREQ(destination, row.expected) << row.source << " " << row.find << " " << row.size;
    EXPECT_EQ(destination[row.size], '#') << row.source << " " << row.find << " " << row.size;
  }
}

TEST(StrnReplace, CopiesWithoutSomethingToFind) {
  for (const char* find : {static_cast<const char*>(nullptr), ""}) {
    char destination[] = "########";
    EXPECT_EQ(strn_replace("abc", destination, find, "X", 8), destination);
    EXPECT_STREQ(destination, "abc");
    strn_replace("abcdef", destination, find, "X", 3);
    EXPECT_STREQ(destination, "abc");
    strn_replace("xyzuvw", destination, find, "X", 2);
    EXPECT_STREQ(destination, "xyc");
  }
}

TEST(StrnReplace, WorksInPlace) {
  char text[32] = "one two one";
  EXPECT_EQ(strn_replace(text, text, "one", "three", sizeof text), text);
  EXPECT_STREQ(text, "three two three");
}

TEST(StrnReplace, DoesNothingWithoutADestination) {
  EXPECT_EQ(strn_replace("abc", nullptr, "b", "X", 10), nullptr);
}

TEST(StrnReplace, ReturnsTheSourceWithoutMemory) {
  char destination[8] = "kept";
  const char* const source = "abc";
  testing::internal::CaptureStderr();
  EXPECT_EQ(strn_replace(source, destination, "b", "X", SIZE_MAX / 2), source);
  // A sanitizer writes a line of its own first.
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::EndsWith("strn_replace: Cannot allocate memory\n"));
  EXPECT_STREQ(destination, "kept");
}

TEST(StrReplaceChar, ReplacesInPlaceOrInACopy) {
  char text[] = "a.b.c";
  EXPECT_EQ(str_replace_char(text, nullptr, '.', '-'), text);
  EXPECT_STREQ(text, "a-b-c");
  char copy[8];
  EXPECT_EQ(str_replace_char(text, copy, '-', '+'), copy);
  EXPECT_STREQ(copy, "a+b+c");
  EXPECT_STREQ(text, "a-b-c");
  char empty[] = "";
  EXPECT_STREQ(str_replace_char(empty, nullptr, 'a', 'b'), "");
}

TEST(StrTolower, LowersAsciiOnly) {
  char text[] = "MiXeD 42 ÄÖ";
  str_tolower(text);
  EXPECT_STREQ(text, "mixed 42 ÄÖ");
  str_tolower(nullptr);
}

struct After {
  const char* text;
  const char* key;
  const char* word;
  const char* line;
};

TEST(WordAndLineAfter, TakeWhatFollowsTheFirstKey) {
  const After rows[] = {
      {"size 10 kb\nnext", "size", "10", " 10 kb"},
      {"size\n\t 10\n", "size", "10", ""},
      {"a=1 a=2", "a=", "1", "1 a=2"},
      {"the last key", "key", "", ""},
      {"key value", "key ", "value", "value"},
      {"keyvalue rest\n", "key", "value", "value rest"},
      {"no such", "key", "", ""},
      {"", "key", "", ""},
      {nullptr, "key", "", ""},
      {"text", "", "text", "text"},
      {"cr\r\nline", "c", "r", "r\r"},
  };
  for (const After& row : rows) {
    EXPECT_STREQ(get_word_after(row.text, row.key), row.word) << row.text;
    EXPECT_STREQ(get_line_after(row.text, row.key), row.line) << row.text;
  }
}

TEST(WordAndLineAfter, AreCutAtTheirBuffers) {
  for (const size_t length : {4094U, 4095U, 4096U, 4097U, 10000U}) {
    const std::string text = "key=" + std::string(length, 'v');
    const std::string expected(length < 4095 ? length : 4095, 'v');
    EXPECT_EQ(get_word_after(text.c_str(), "key="), expected) << length;
    EXPECT_EQ(get_line_after(text.c_str(), "key="), expected) << length;
  }
}

TEST(WordAndLineAfter, TakeTheirOwnResultsAsInput) {
  const std::string text = "a 1:2:" + std::string(3000, 'v');
  EXPECT_EQ(get_line_after(get_line_after(text.c_str(), "a"), ":"), text.substr(4));
  EXPECT_EQ(get_word_after(get_word_after(text.c_str(), "a"), ":"), text.substr(4));
  EXPECT_STREQ(get_word_after("1 b 2", get_word_after("a b", "a")), "2");
  EXPECT_STREQ(get_line_after("1 b 2", get_line_after("a b", "a")), " 2");
}

TEST(WordAndLineAfter, HaveBuffersOfTheirOwn) {
  const char* const word = get_word_after("key word", "key");
  const char* const line = get_line_after("key line\n", "key");
  EXPECT_STREQ(word, "word");
  EXPECT_STREQ(line, " line");
}

class Fatal : public testing::Test {
 protected:
  void SetUp() override {
    prog_name = nullptr;
    errno = 0;
  }
};

TEST_F(Fatal, CheckParamEndsTheProcessForAMissingOrEmptyValue) {
  const char* const message = "^Miss parameter 'name' or previos parameter empty.\n";
  EXPECT_EXIT(check_param(1, nullptr, "name"), testing::ExitedWithCode(1), message);
  EXPECT_EXIT(check_param(-1, "", "name"), testing::ExitedWithCode(1), message);
  check_param(0, nullptr, "name");
  check_param(1, "value", "name");
}

TEST_F(Fatal, CheckAllProcessedEndsTheProcessWhenCountsDiffer) {
  EXPECT_EXIT(check_all_processed(1, 2), testing::ExitedWithCode(1),
              "^Some parameters in command string leave unprocessed. Check parameters please.\n");
  check_all_processed(2, 2);
}

TEST_F(Fatal, XreallocEndsTheProcessWithoutMemory) {
  EXPECT_EXIT(xrealloc(nullptr, SIZE_MAX / 2), testing::ExitedWithCode(1), "alloc\\(-1\\)\n");
}

TEST(Xrealloc, GrowsWhatItIsGiven) {
  char* memory = static_cast<char*>(xmalloc(4));
  memcpy(memory, "abc", 4);
  memory = static_cast<char*>(xrealloc(memory, 1000));
  EXPECT_STREQ(memory, "abc");
  free(memory);
}

TEST(RandomBelow, StaysBelowItsBound) {
  for (const int n : {1, 2, 10, 1000, INT_MAX}) {
    const int draw = random_below(n);
    EXPECT_GE(draw, 0);
    EXPECT_LT(draw, n);
  }
}

TEST(RandomBelow, GivesTheSameWithinASecond) {
  // Of three draws in a row at least two fall into one second.
  const int a = random_below(1000000);
  const int b = random_below(1000000);
  const int c = random_below(1000000);
  EXPECT_TRUE(a == b || b == c);
}

}  // namespace
