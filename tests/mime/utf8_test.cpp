#include "mime/utf8.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

struct Text {
  const char* name;
  std::string_view text;
  size_t valid;
};

void PrintTo(const Text& row, std::ostream* out) {
  *out << row.name;
}

class Utf8Length : public testing::TestWithParam<Text> {};

TEST_P(Utf8Length, EndsInFrontOf) {
  const Text& row = GetParam();
  EXPECT_EQ(utf8_length(row.text), row.valid);
  const std::string behind_text = "eight letters and more " + std::string(row.text);
  EXPECT_EQ(utf8_length(behind_text), row.valid + 23);
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

TEST(AsciiLength, EndsInFrontOfTheFirstOtherByteWhereverItStands) {
  for (size_t length = 0; length < 40; ++length) {
    const std::string ascii(length, 'a');
    EXPECT_EQ(ascii_length(ascii), length);
    EXPECT_EQ(ascii_length(ascii + "\x80more text behind it"), length);
  }
}

}  // namespace
