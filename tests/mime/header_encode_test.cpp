#include "mime/header_encode.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../memory_file.h"
#include "../named_row.h"

using namespace std::string_view_literals;

namespace {

// Each row is sixteen bytes; E: must be encoded.
constexpr std::string_view kEncodedBytes =
    "EEEEEEEEEEEEEEEE"   // 00
    "EEEEEEEEEEEEEEEE"   // 10
    ".EE.....EEEE.E.E"   // 20  !"#$%&'()*+,-./
    ".............E.E"   // 30 0123456789:;<=>?
    "................"   // 40 @ABCDEFGHIJKLMNO
    "...............E"   // 50 PQRSTUVWXYZ[\]^_
    "................"   // 60 `abcdefghijklmno
    "................"   // 70 pqrstuvwxyz{|}~
    "EEEEEEEEEEEEEEEE"   // 80
    "EEEEEEEEEEEEEEEE"   // 90
    "EEEEEEEEEEEEEEEE"   // A0
    "EEEEEEEEEEEEEEEE"   // B0
    "EEEEEEEEEEEEEEEE"   // C0
    "EEEEEEEEEEEEEEEE"   // D0
    "EEEEEEEEEEEEEEEE"   // E0
    "EEEEEEEEEEEEEEEE";  // F0

TEST(NeedsQEncoding, KnowsEveryByte) {
  ASSERT_EQ(kEncodedBytes.size(), 256U);
  for (size_t code = 0; code < 256; ++code) {
    EXPECT_EQ(needs_q_encoding(static_cast<char>(code)), kEncodedBytes[code] == 'E')
        << "byte " << code;
  }
}

struct Text : NamedRow {
  std::string_view text;
  std::string_view want;
};

class QEncode : public testing::TestWithParam<Text> {};

TEST_P(QEncode, Writes) {
  EXPECT_EQ(q_encode(GetParam().text), GetParam().want);
}

constexpr Text kEncodings[] = {
    {"Nothing", "", ""},
    {"PlainText", "Hello", "Hello"},
    {"BlankAsUnderscore", "a b", "a_b"},
    {"UnderscoreEscaped", "a_b", "a=5Fb"},
    {"EqualsSignEscaped", "=", "=3D"},
    {"QuestionMarkEscaped", "?=", "=3F=3D"},
    {"UpperCaseDigits", "\xC3\xBC\xFF", "=C3=BC=FF"},
    {"TwoDigitsForSmallBytes", "\0\t\n"sv, "=00=09=0A"},
    {"DelAsItIs", "\x7F", "\x7F"},
};

INSTANTIATE_TEST_SUITE_P(Rows, QEncode, testing::ValuesIn(kEncodings));

class HeaderEncode : public testing::TestWithParam<Text> {};

TEST_P(HeaderEncode, Writes) {
  EXPECT_EQ(header_encode(GetParam().text), GetParam().want);
}

constexpr Text kHeaders[] = {
    {"NothingForNothing", "", ""},
    {"PlainWordUnchanged", "Hello", "Hello"},
    {"PlainWordsUnchanged", "Hello world", "Hello world"},
    {"BlanksAloneUnchanged", "  ", "  "},
    {"LeadingBlankOfPlainTextUnchanged", " Hello", " Hello"},
    {"PlainPunctuationUnchanged", "a#$%&',.:;<>@[\\]^`{|}~z", "a#$%&',.:;<>@[\\]^`{|}~z"},
    {"PlainWordInTheEncodedWord", "Re: Gr\xC3\xBC\xC3\x9F\x65", "=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?="},
    {"PlainEndInTheEncodedWord", "\xC3\xBC plain", "=?utf-8?Q?=C3=BC_plain?="},
    {"HyphenForcesEncoding", "x-y", "=?utf-8?Q?x=2Dy?="},
    {"LeadingBlankStaysOutside", " x-y", " =?utf-8?Q?x=2Dy?="},
    {"LeadingBlankRightBeforeTheEncodedByte", " -", " =?utf-8?Q?=2D?="},
    {"OnlyOneLeadingBlankStaysOutside", "  x-y", " =?utf-8?Q?_x=2Dy?="},
    {"LeadingTabIsEncoded", "\tx", "=?utf-8?Q?=09x?="},
    {"TabAfterALeadingBlankIsEncoded", " \tx", " =?utf-8?Q?=09x?="},
    {"LineEndsAreEncoded", "a\r\nBcc: x@y", "=?utf-8?Q?a=0D=0ABcc:_x@y?="},
    {"NulIsEncoded", "a\0b"sv, "=?utf-8?Q?a=00b?="},
    {"EncodedWordIsEncodedAgain", "=?utf-8?Q?a?=", "=?utf-8?Q?=3D=3Futf=2D8=3FQ=3Fa=3F=3D?="},
    {"InvalidUtf8IsEncodedByteByByte", "\xC3(", "=?utf-8?Q?=C3=28?="},
};

INSTANTIATE_TEST_SUITE_P(Rows, HeaderEncode, testing::ValuesIn(kHeaders));

TEST(HeaderEncode, WritesALongTextAsOneWord) {
  const std::string plain(100000, 'a');
  EXPECT_EQ(header_encode(plain + "!"), "=?utf-8?Q?" + plain + "=21?=");
}

TEST(HeaderEncode, EncodesEveryByteOfALongText) {
  std::string text = "a";
  std::string want = "=?utf-8?Q?a";
  for (int i = 0; i < 10000; ++i) {
    text += "\xC3\xBC ";
    want += "=C3=BC_";
  }
  EXPECT_EQ(header_encode(text), want + "?=");
}

TEST(HeaderEncode, WritesTheSameIntoAFile) {
  const MemoryFile out;
  fputs("Subject: ", out.get());
  write_header_encoded(out.get(), {" x-y"});
  write_header_encoded(out.get(), {""});
  write_header_encoded(out.get(), {" plain"});
  EXPECT_EQ(out.Text(), "Subject:  =?utf-8?Q?x=2Dy?= plain");
}

TEST(HeaderEncode, WritesPiecesAsOneText) {
  const MemoryFile out;
  write_header_encoded(out.get(), {"Re: ", "x-y"});
  write_header_encoded(out.get(), {"", " x-y", ""});
  write_header_encoded(out.get(), {" ", "-", " "});
  write_header_encoded(out.get(), {"Re: ", "plain"});
  write_header_encoded(out.get(), {std::string_view(), "", std::string_view()});
  EXPECT_EQ(out.Text(), "=?utf-8?Q?Re:_x=2Dy?= =?utf-8?Q?x=2Dy?= =?utf-8?Q?=2D_?=Re: plain");
}

}  // namespace
