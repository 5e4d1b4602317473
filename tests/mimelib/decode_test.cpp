#include "mimelib/decode.h"

#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

DwString string_of(std::string_view text) {
  return {text.data(), text.size()};
}

std::string bytes_of(const DwString& text) {
  return {text.data(), text.length()};
}

struct Encoded {
  const char* name;
  std::string_view text;
  std::string_view want;
  int status;
};

void PrintTo(const Encoded& row, std::ostream* out) {
  *out << row.name;
}

class DecodeBase64 : public testing::TestWithParam<Encoded> {};

TEST_P(DecodeBase64, Gives) {
  DwString out("replaced");
  EXPECT_EQ(DwDecodeBase64(string_of(GetParam().text), out), GetParam().status);
  EXPECT_EQ(bytes_of(out), GetParam().want);
}

constexpr Encoded kBase64[] = {
    {"Nothing", "", "", 0},
    {"FullGroup", "QUJD\n\n", "ABC", 0},
    {"FullGroupWithoutLineEnd", "QUJD", "ABC", 0},
    {"OnePaddingByte", "QUI=\n\n", "AB", 0},
    {"TwoPaddingBytes", "QQ==\n\n", "A", 0},
    {"EveryByteOfTheAlphabet", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/\n",
     "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71"
     "\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E"
     "\xBB\xF3\xDF\xBF"sv,
     0},
    {"Lines", "QUJD\r\nREVG\r\n", "ABCDEF", 0},
    {"LineEndInAGroup", "QU\r\nJD\n", "ABC", 0},
    {"BytesOutsideTheAlphabet", "Q-U_J*\xE9\0D\n"sv, "ABC", 0},
    {"NothingOfLineEnds", "\n\n\n", "", 0},
    {"NothingOfOtherBytes", "----\n", "\0\0\0\0\0"sv, -1},
    {"GroupOfOne", "QUJDR\n", "ABC", 0},
    {"GroupOfTwo", "QUJDRE\n", "ABC", 0},
    {"GroupOfThree", "QUJDREU\n", "ABC", 0},
    {"OneGroupOfThree", "QUI\n", "", 0},
    {"OnePaddingByteTooFew", "QQ= \n\n", "", 0},
    {"PaddingTooEarly", "Q===\n\n", "", 0},
    {"PaddingBetween", "QU=D\n\n", "", 0},
    {"PaddingFirst", "=QUJD\n", "", 0},
    {"NothingBehindPadding", "QQ==QUJD\n", "A", 0},
    {"NothingBehindOnePaddingByte", "QUI=QUJD", "AB", 0},
    {"PaddingGroup", "QUJD====", "ABC", 0},
    // Texts of these lengths are too short for the room that the decoder asks for.
    {"OneByte", "Q", "\0"sv, -1},
    {"TwoBytes", "\n\n", "\0\0"sv, -1},
    {"ThreeBytes", "QUI", "", 0},
    {"FiveBytes", "QUJD\n", "\0\0\0\0\0"sv, -1},
    {"SixBytes", "QUJD\n\n", "ABC", 0},
    {"NineBytes", "QUJDREVG\n", "ABCDEF", 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, DecodeBase64, testing::ValuesIn(kBase64));

TEST(DecodeBase64, WorksInPlace) {
  DwString text("QUJDREVG");
  EXPECT_EQ(DwDecodeBase64(text, text), 0);
  EXPECT_EQ(bytes_of(text), "ABCDEF");
}

TEST(DecodeBase64, ReadsASlice) {
  const DwString whole("xxQUJDREVGxx");
  DwString out;
  EXPECT_EQ(DwDecodeBase64(whole.Slice(2, 8), out), 0);
  EXPECT_EQ(bytes_of(out), "ABCDEF");
}

TEST(DecodeBase64, ReadsAMillionGroups) {
  std::string text;
  std::string want;
  for (int i = 0; i < 1000000; ++i) {
    text += "QUJD";
    want += "ABC";
  }
  DwString out;
  EXPECT_EQ(DwDecodeBase64(string_of(text), out), 0);
  EXPECT_TRUE(bytes_of(out) == want);
}

class DecodeQuotedPrintable : public testing::TestWithParam<Encoded> {};

TEST_P(DecodeQuotedPrintable, Gives) {
  DwString out("replaced");
  EXPECT_EQ(DwDecodeQuotedPrintable(string_of(GetParam().text), out), GetParam().status);
  EXPECT_EQ(bytes_of(out), GetParam().want);
}

constexpr Encoded kQuotedPrintable[] = {
    {"Nothing", "", "", 0},
    {"PlainText", "plain text\n", "plain text\n", 0},
    {"NoLineEnd", "plain", "plain", 0},
    {"LineEndAlone", "\n", "\n", 0},
    {"EmptyLines", "one\n\n\ntwo\n", "one\n\n\ntwo\n", 0},
    {"CrLf", "one\r\ntwo\r\n", "one\ntwo\n", 0},
    {"CrInALine", "a\rb\n", "a\rb\n", 0},
    {"Escapes", "a=3Db=C3=bc\n", "a=b\xC3\xBC\n", 0},
    {"EscapedNul", "=00x\n", "\0x\n"sv, 0},
    {"EscapedLineEnd", "a=0D=0Ab\n", "a\r\nb\n", 0},
    {"EscapedBlankAtTheEnd", "a=20\n", "a \n", 0},
    {"EscapeAtTheEnd", "a=41", "aA", 0},
    {"Underscore", "a_b\n", "a_b\n", 0},
    {"SoftLineBreak", "a=\nb\n", "ab\n", 0},
    {"SoftLineBreakWithCrLf", "a=\r\nb\n", "ab\n", 0},
    {"SoftLineBreakWithBlanks", "a= \t\r\nb\n", "ab\n", 0},
    {"SoftLineBreaksAlone", "=\n=\n=\n", "", 0},
    {"SoftLineBreakAtTheEnd", "a=", "a", 0},
    {"WhiteSpaceAtTheEndOfALine", "a \t\nb \r\nc", "a\nb\nc", 0},
    {"WhiteSpaceAtTheEndOfTheText", "a \t", "a", 0},
    {"WhiteSpaceInALine", " a \t b\n", " a \t b\n", 0},
    {"EightBitsAsSeven", "\xC3\xBC\xE1\n", "C<a\n", 0},
    {"EightBitWhiteSpaceAtTheEnd", "a\xA0\n", "a\n", 0},
    {"EightBitsInEscape", "=\xB4\xB1\n", "A\n", 0},
    {"NothingBehindNul", "a\0b\n"sv, "a", 0},
    {"SecondIsNoDigit", "a=4Gb\n", "a\x87\x62\n", -1},
    {"FirstIsNoDigit", "a=G4b\n",
     "at"
     "b\n",
     -1},
    {"OneDigitAtTheEndOfALine", "a=4\nb\n", "a4\nb\n", -1},
    {"OneDigitAtTheEnd", "a=4", "a4", -1},
    {"TwoEqualsSignsAtTheEndOfALine", "a==\nb\n", "ab\n", -1},
    {"EqualsSignInEscape", "==41\n",
     "\xD4"
     "1\n",
     -1},
    {"GoesOnBehindABadEscape", "=ZZ=41\n",
     "\xFA"
     "A\n",
     -1},
};

INSTANTIATE_TEST_SUITE_P(Rows, DecodeQuotedPrintable, testing::ValuesIn(kQuotedPrintable));

TEST(DecodeQuotedPrintable, WorksInPlace) {
  DwString text("a=3Db");
  EXPECT_EQ(DwDecodeQuotedPrintable(text, text), 0);
  EXPECT_EQ(bytes_of(text), "a=b");
}

TEST(DecodeQuotedPrintable, ReadsASlice) {
  const DwString whole("=3D=41=42=3D");
  DwString out;
  EXPECT_EQ(DwDecodeQuotedPrintable(whole.Slice(3, 6), out), 0);
  EXPECT_EQ(bytes_of(out), "AB");
}

TEST(DecodeQuotedPrintable, ReadsAMillionLines) {
  std::string text;
  std::string want;
  for (int i = 0; i < 1000000; ++i) {
    text += "=41 \n";
    want += "A\n";
  }
  DwString out;
  EXPECT_EQ(DwDecodeQuotedPrintable(string_of(text), out), 0);
  EXPECT_TRUE(bytes_of(out) == want);
}

TEST(DecodeQuotedPrintable, ReadsALineOfAMillionBlanks) {
  DwString out;
  EXPECT_EQ(DwDecodeQuotedPrintable(string_of("a" + std::string(1000000, ' ') + "b\nc \n"), out),
            0);
  EXPECT_TRUE(bytes_of(out) == "a" + std::string(1000000, ' ') + "b\nc\n");
}

}  // namespace
