#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "mime/encoded_text.h"
#include "payload.h"

using namespace std::string_view_literals;

namespace {

class QuotedPrintable : public testing::TestWithParam<Payload> {};

TEST_P(QuotedPrintable, Decodes) {
  expect_decoded(GetParam(), qp_decode);
}

constexpr Payload kPayloads[] = {
    {"Nothing", "", "", ""},
    {"PlainText", "Hello.", "Hello.", ""},
    {"UnderscoreAsBlank", "a_b=3Dc", "a b=c", ""},
    {"BlankAsItIs", "a b", "a b", ""},
    {"UnderscoreAlone", "_", " ", ""},
    {"LowerCaseDigits", "=3d", "=", ""},
    {"MixedCaseDigits", "=c3=A4", "\xC3\xA4", ""},
    {"HighestByte", "=FF", "\xFF", ""},
    {"NulByte", "a=00b", "a\0b"sv, ""},
    {"EightBitBytesAsTheyAre", "\xC3\xA4\0"sv, "\xC3\xA4\0"sv, ""},
    {"LineEndsAsTheyAre", "a\r\nb\n", "a\r\nb\n", ""},
    {"QuestionMarkAsItIs", "a?b", "a?b", ""},
    {"EscapedEqualsSignOnce", "=3D41", "=41", ""},
    {"EqualsSignAtTheEndAsNul", "abc=", "abc\0"sv, ""},
    {"EqualsSignAloneAsNul", "=", "\0"sv, ""},
    {"OneDigitAtTheEnd", "=4", "\x04", ""},
    {"OneDigitAndSomethingElse", "=4G", "\x04", ""},
    {"OneDigitAndBlank", "=4 x", "\x04x", ""},
    {"BlankAndDigit", "= A", "\n", ""},
    {"LineBreakAndDigit", "=\nAx", "\nx", ""},
    {"PlusAndDigit", "=+5", "\x05", ""},
    {"MinusAndDigit", "=-1", "\xFF", ""},
    {"DigitAndNul", "=A\0x"sv, "\nx", ""},
    {"NulAndDigit", "=\0Ax"sv, "\0x"sv, ""},
    {"HexPrefixAsZero", "=0x41",
     "\0"
     "41"sv,
     ""},
    {"TwoLettersThatAreNoDigits", "=ZZ", "\0"sv, "Bad hex in quoted-printable string: ZZ\n"},
    {"NoDigitInFrontOfOne", "=G1", "\0"sv, "Bad hex in quoted-printable string: G1\n"},
    {"NoDigitAtTheEnd", "=Z", "\0"sv, "Bad hex in quoted-printable string: Z\n"},
    {"TwoEqualsSigns", "==", "\0"sv, "Bad hex in quoted-printable string: =\n"},
    {"EqualsSignInEscape", "==41",
     "\0"
     "1"sv,
     "Bad hex in quoted-printable string: =4\n"},
    {"UnderscoreInEscape", "=_A", "\0"sv, "Bad hex in quoted-printable string: _A\n"},
    {"SoftLineBreak", "a=\r\nb", "a\0b"sv, "Bad hex in quoted-printable string: \r\n\n"},
    {"NewlineAndLetter", "a=\nxb", "a\0b"sv, "Bad hex in quoted-printable string: \nx\n"},
    {"TwoBlanks", "=  x", "\0x"sv, "Bad hex in quoted-printable string:   \n"},
    {"BlankAtTheEnd", "= ", "\0"sv, "Bad hex in quoted-printable string:  \n"},
    {"EightBitsInEscape", "=\xFF\xFE", "\0"sv, "Bad hex in quoted-printable string: \xFF\xFE\n"},
    {"LetterAndNul", "=Z\0x"sv, "\0x"sv, "Bad hex in quoted-printable string: Z\n"},
    {"GoesOnAfterEveryBadEscape", "=XXa=YYb", "\0a\0b"sv,
     "Bad hex in quoted-printable string: XX\nBad hex in quoted-printable string: YY\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, QuotedPrintable, testing::ValuesIn(kPayloads));

TEST(QuotedPrintableStep, TakesOneUnitAtATime) {
  std::string out = "before ";
  std::ptrdiff_t position = 0;
  qp_decode_step(out, "a=41_", position);
  EXPECT_EQ(out, "before a");
  EXPECT_EQ(position, 1);
  qp_decode_step(out, "a=41_", position);
  EXPECT_EQ(out, "before aA");
  EXPECT_EQ(position, 4);
  qp_decode_step(out, "a=41_", position);
  EXPECT_EQ(out, "before aA ");
  EXPECT_EQ(position, 5);
}

TEST(QuotedPrintableStep, MovesOnlyOverTheBytesThatAreThere) {
  std::string out;
  std::ptrdiff_t position = 0;
  qp_decode_step(out, "=4", position);
  EXPECT_EQ(out, "\x04");
  EXPECT_EQ(position, 2);
}

TEST(QuotedPrintableStep, MarksTheEndOfThePayload) {
  std::string out;
  std::ptrdiff_t position = 3;
  qp_decode_step(out, "abc", position);
  EXPECT_EQ(out, "");
  EXPECT_EQ(position, -1);
}

TEST(QuotedPrintableStep, DoesNothingAfterTheEnd) {
  std::string out;
  std::ptrdiff_t position = -1;
  qp_decode_step(out, "abc", position);
  EXPECT_EQ(out, "");
  EXPECT_EQ(position, -1);
}

}  // namespace
