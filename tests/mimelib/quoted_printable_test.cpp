#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "encoded.h"
#include "mimelib/decode.h"

using namespace std::string_view_literals;

namespace {

class DecodeQuotedPrintable : public testing::TestWithParam<Encoded> {};

TEST_P(DecodeQuotedPrintable, Gives) {
  expect_decoded(GetParam(), DwDecodeQuotedPrintable);
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
    {"NothingAfterNul", "a\0b\n"sv, "a", 0},
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
    {"OneDigitAndEightBitsAfterIt", "=4\xC7\n", "\x87\n", -1},
    {"OddEscapeInALineAfterOne", "=ZZ\n=4\n", "\xFA\n4\n", -1},
    {"OddEscapeAfterASoftLineBreak", "=ZZ=\n=4 \n", "\xFA\x34\n", -1},
    {"OddEscapeAfterASoftLineBreakWithBlanks", "=ZZ= \n=4 \n", "\xFA\x34\n", -1},
    {"SoftLineBreakWithEightBitBlank", "a= \xA0\nb\n", "ab\n", 0},
    {"GoesOnAfterABadEscape", "=ZZ=41\n",
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
  EXPECT_EQ(DwDecodeQuotedPrintable(slice_of(whole, 3, 6), out), 0);
  EXPECT_EQ(bytes_of(out), "AB");
  EXPECT_EQ(DwDecodeQuotedPrintable(slice_of(whole, 0, 2), out), -1);
  EXPECT_EQ(bytes_of(out), "3");
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

TEST(DecodeQuotedPrintable, DecodesWhatStandsAnywhereInALongLine) {
  struct Piece {
    std::string_view encoded;
    std::string_view decoded;
  };
  constexpr Piece kPieces[] = {{"=3D", "="},
                               {"=C3=BC", "\xC3\xBC"},
                               {"=\n", ""},
                               {"= \t\r\n", ""},
                               {" \t\n", "\n"},
                               {"=20\n", " \n"},
                               {"\x8A", "\n"},
                               {"\xBD"
                                "41",
                                "A"},
                               {"==41",
                                "\xD4"
                                "1"},
                               {"\n\n", "\n\n"},
                               {"=3d=\r\n=3D", "=="},
                               {"\xE1", "a"}};
  for (const Piece& piece : kPieces) {
    for (size_t i = 0; i < 50; ++i) {
      const std::string front(i, 'a');
      const std::string after(50 - i, 'b');
      DwString out;
      DwDecodeQuotedPrintable(string_of(front + std::string(piece.encoded) + after), out);
      EXPECT_EQ(bytes_of(out), front + std::string(piece.decoded) + after) << piece.encoded;
    }
  }
}

// Looking for the line's end at each escape would take an hour.
TEST(DecodeQuotedPrintable, ReadsALineOfTenMillionOddEscapesInLinearTime) {
  constexpr size_t kEscapes = 10000000;
  std::string text;
  for (size_t i = 0; i < kEscapes; ++i) text += "=ZZ";
  DwString out;
  EXPECT_EQ(DwDecodeQuotedPrintable(string_of(text), out), -1);
  EXPECT_TRUE(bytes_of(out) == std::string(kEscapes, '\xFA'));
}

}  // namespace
