#include "mime/utf8.h"

#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"

using namespace std::string_view_literals;

namespace {

struct Text : NamedRow {
  std::string_view text;
  size_t valid;
};

class Utf8Length : public testing::TestWithParam<Text> {};

TEST_P(Utf8Length, EndsInFrontOf) {
  const Text& row = GetParam();
  EXPECT_EQ(utf8_length(row.text), row.valid);
  const std::string after_text = "eight letters and more " + std::string(row.text);
  EXPECT_EQ(utf8_length(after_text), row.valid + 23);
}

constexpr Text kTexts[] = {
    {"NothingInNothing", "", 0},
    {"NothingInAscii", "plain\0text\x7F"sv, 11},
    {"NothingInTwoBytes", "\xC2\x80\xDF\xBF", 4},
    {"NothingInThreeBytes", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", 12},
    {"NothingInFourBytes", "\xF0\x90\x80\x80\xF3\x80\x80\x80\xF4\x8F\xBF\xBF", 12},
    {"ATail", "a\x80", 1},
    {"AFirstByteThatNeverIs", "a\xC1\xBF", 1},
    {"ATooLongFormOfThree", "a\xE0\x9F\xBF", 1},
    {"ATooLongFormOfFour", "a\xF0\x8F\xBF\xBF", 1},
    {"ASurrogate", "a\xED\xA0\x80", 1},
    {"AboveUnicode", "a\xF4\x90\x80\x80", 1},
    {"FarAboveUnicode", "a\xF5\x80\x80\x80", 1},
    {"ACutSequenceOfTwo", "a\xC3", 1},
    {"ACutSequenceOfThree", "a\xE2\x82", 1},
    {"ACutSequenceOfFour", "a\xF0\x9F\x98", 1},
    {"AnInterruptedSequenceOfTwo", "a\xC3z", 1},
    {"AnInterruptedSequenceOfThree", "a\xE2\x82z", 1},
    {"AnInterruptedSequenceOfFour", "a\xF0\x9F\x98z", 1},
};

INSTANTIATE_TEST_SUITE_P(Rows, Utf8Length, testing::ValuesIn(kTexts));

TEST_P(Utf8Length, EndsInFrontOfItWhereverItStandsInALongText) {
  const Text& row = GetParam();
  for (const char* filling : {"a", "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "a\xC3\xBC"}) {
    std::string front;
    for (size_t i = 0; i < 150; ++i) {
      const std::string text = front + std::string(row.text);
      EXPECT_EQ(utf8_length(text), front.size() + row.valid) << i << " times " << filling;
      const std::string after = std::string(100, 'z');
      const bool valid = row.valid == row.text.size();
      EXPECT_EQ(utf8_length(text + after), front.size() + row.valid + (valid ? 100 : 0));
      front += filling;
    }
  }
}

// The rules of RFC 3629 one by one, for comparison with all sequences of bytes of each kind.
size_t length_by_the_rules(std::string_view text) {
  const auto at = [&text](size_t i) -> unsigned {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  size_t i = 0;
  while (i < text.size()) {
    const unsigned lead = at(i);
    const size_t tails = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    unsigned code = tails == 0 ? lead : lead & (0x3FU >> tails);
    for (size_t tail = 1; tail <= tails; ++tail) {
      if ((at(i + tail) & 0xC0) != 0x80) return i;
      code = code << 6 | (at(i + tail) & 0x3F);
    }
    constexpr unsigned kLeast[] = {0, 0x80, 0x800, 0x10000};
    const bool is_lead = lead < 0x80 || (lead >= 0xC0 && lead < 0xF8);
    if (!is_lead || code < kLeast[tails] || code > 0x10FFFF || code >> 11 == 0x1B) return i;
    i += tails + 1;
  }
  return i;
}

TEST(Utf8Length, FollowsTheRulesForEveryFourBytes) {
  constexpr std::string_view kBytes =
      "a\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5\xFF";
  // Within a block of sixteen bytes, across two, and across two chunks of blocks.
  for (const size_t place : {100U, 114U, 115U, 128U, 129U, 130U, 131U}) {
    std::string text(220, 'x');
    for (const char a : kBytes) {
      for (const char b : kBytes) {
        for (const char c : kBytes) {
          for (const char d : kBytes) {
            text.replace(place, 4, {a, b, c, d});
            ASSERT_EQ(utf8_length(text), length_by_the_rules(text))
                << testing::PrintToString(text.substr(place, 4)) << " at " << place;
          }
        }
      }
    }
  }
}

TEST(AsciiLength, EndsInFrontOfTheFirstOtherByteWhereverItStands) {
  for (size_t length = 0; length < 40; ++length) {
    const std::string ascii(length, 'a');
    EXPECT_EQ(ascii_length(ascii), length);
    EXPECT_EQ(ascii_length(ascii + "\x80more text after it"), length);
  }
}

}  // namespace
