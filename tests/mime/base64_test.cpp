#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "mime/encoded_text.h"
#include "payload.h"

using namespace std::string_view_literals;

namespace {

class Base64 : public testing::TestWithParam<Payload> {};

TEST_P(Base64, Decodes) {
  expect_decoded(GetParam(), base64_decode);
}

constexpr Payload kPayloads[] = {
    {"Nothing", "", "", ""},
    {"FullGroup", "QUJD", "ABC", ""},
    {"TwoGroups", "QUJDREVG", "ABCDEF", ""},
    {"OnePaddingByte", "QUI=", "AB", ""},
    {"TwoPaddingBytes", "QQ==", "A", ""},
    {"EveryBitSet", "////", "\xFF\xFF\xFF", ""},
    {"BothPunctuationSymbols", "+/+/", "\xFB\xFF\xBF", ""},
    {"NulBytes", "AAAA", "\0\0\0"sv, ""},
    {"OneSymbol", "Q", "\x40", ""},
    {"TwoSymbols", "QQ", "A", ""},
    {"ThreeSymbols", "QUI", "AB", ""},
    {"OneSymbolAfterAGroup", "QUJDQ", "ABC\x40", ""},
    {"OnePaddingByteTooFew", "QQ=", "A", ""},
    {"NothingAfterPadding", "QQ==QUJD", "A", ""},
    {"NothingAfterOnePaddingByte", "QUI=QUJD", "AB", ""},
    {"PaddingAfterAFullGroup", "QUJD=", "ABC", ""},
    {"PaddingAlone", "====", "", ""},
    {"PaddingInFront", "=QUJD", "", ""},
    {"PaddingAfterOneSymbol", "Q===", "\x40", ""},
    // Kept: skipped bytes count as bytes of the last group.
    {"SkippedLineEndAsSymbols", "Q\r\nQ==", "A\0\0"sv, ""},
    {"SkippedBlankAsSymbol", "Q Q==", "A\0"sv, ""},
    {"BlanksBetweenSymbols", "Q U J D", "ABC", ""},
    {"TabInFront", "\tQUJD", "ABC", ""},
    {"LineEndAfterAGroup", "QUJD\n", "ABC\0"sv, ""},
    {"ThreeBlanks", "   ", "\0\0"sv, ""},
    {"FourBlanks", "    ", "\0\0\0"sv, ""},
    {"BlankBeforePadding", "QQ ==", "A\0"sv, ""},
    {"BadByteInAGroup", "QU*JD", "ABC", "Bad base64 symbol: *\n"},
    {"BadByteAlone", "*", "\0"sv, "Bad base64 symbol: *\n"},
    {"BadByteBeforePadding", "QQ*==", "A\0"sv, "Bad base64 symbol: *\n"},
    {"EveryBadByte", "-_Q", "\x40\0"sv, "Bad base64 symbol: -\nBad base64 symbol: _\n"},
    {"EightBitByte", "QUJ\xFF\x44", "ABC", "Bad base64 symbol: \xFF\n"},
    {"NulByte", "QUJ\0D"sv, "ABC", "Bad base64 symbol: \0\n"sv},
    {"VerticalTab", "QUJ\vD", "ABC", "Bad base64 symbol: \v\n"},
    {"NothingBadAfterPadding", "QQ==*", "A", ""},
};

INSTANTIATE_TEST_SUITE_P(Rows, Base64, testing::ValuesIn(kPayloads));

TEST(Base64, SkipsAMillionBlanks) {
  EXPECT_EQ(base64_decode("QUJ" + std::string(1000000, ' ') + "D"), "ABC");
}

TEST(Base64Symbol, KnowsTheWholeAlphabet) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  ASSERT_EQ(kAlphabet.size(), 64U);
  size_t position = 0;
  for (unsigned want = 0; want < 64; ++want) {
    EXPECT_EQ(base64_symbol(kAlphabet, position), want);
    EXPECT_EQ(position, want + 1);
  }
}

TEST(Base64Symbol, ReportsEveryOtherByte) {
  constexpr std::string_view kQuiet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=\t\n\r ";
  for (int code = 0; code < 256; ++code) {
    const std::string byte(1, static_cast<char>(code));
    SCOPED_TRACE(code);
    size_t position = 0;
    testing::internal::CaptureStderr();
    base64_symbol(byte, position);
    const bool quiet = kQuiet.find(byte) != std::string_view::npos;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              quiet ? "" : "Bad base64 symbol: " + byte + "\n");
  }
}

TEST(Base64Symbol, DoesNotMoveAtTheEnd) {
  size_t position = 2;
  EXPECT_EQ(base64_symbol("QQ", position), 0U);
  EXPECT_EQ(position, 2U);
}

TEST(Base64Symbol, DoesNotMovePastPadding) {
  size_t position = 1;
  EXPECT_EQ(base64_symbol("Q=Q", position), 0U);
  EXPECT_EQ(position, 1U);
}

TEST(Base64Symbol, MovesAfterWhatItSkips) {
  size_t position = 0;
  EXPECT_EQ(base64_symbol(" \t\r\nB", position), 1U);
  EXPECT_EQ(position, 5U);
}

TEST(Base64Symbol, StopsAtPaddingAfterWhiteSpace) {
  size_t position = 0;
  EXPECT_EQ(base64_symbol("  =B", position), 0U);
  EXPECT_EQ(position, 2U);
}

}  // namespace
