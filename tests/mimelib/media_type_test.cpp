#include "mimelib/media_type.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "dw_strings.h"

using namespace std::string_view_literals;

namespace {

struct Code : NamedRow {
  std::string_view text;
  int want;
};

class MediaTypeCode : public testing::TestWithParam<Code> {};

TEST_P(MediaTypeCode, IsThatOfTheType) {
  EXPECT_EQ(DwMediaType(string_of(GetParam().text)).Type(), GetParam().want);
}

constexpr Code kTypes[] = {
    {"Empty", "", DwMime::kTypeNull},
    {"WhiteSpace", " \r\n\t", DwMime::kTypeNull},
    {"CommentAlone", "(text/plain)", DwMime::kTypeNull},
    {"PunctuationAlone", ";/=", DwMime::kTypeNull},
    {"QuotedTypeIsPassedOver", "\"text\"/plain", DwMime::kTypeUnknown},
    {"Text", "text/plain", DwMime::kTypeText},
    {"Multipart", "multipart/mixed", DwMime::kTypeMultipart},
    {"Message", "message/rfc822", DwMime::kTypeMessage},
    {"Application", "application/pdf", DwMime::kTypeApplication},
    {"Image", "image/png", DwMime::kTypeImage},
    {"Audio", "audio/basic", DwMime::kTypeAudio},
    {"Video", "video/mpeg", DwMime::kTypeVideo},
    {"Model", "model/vrml", DwMime::kTypeModel},
    {"OtherCase", "TeXt/PLAIN", DwMime::kTypeText},
    {"NoSubtype", "text", DwMime::kTypeText},
    {"BlanksAround", " text / plain ", DwMime::kTypeText},
    {"CommentBefore", "(c) text/plain", DwMime::kTypeText},
    {"SlashBefore", "/text", DwMime::kTypeText},
    {"UnknownType", "chemical/x-pdb", DwMime::kTypeUnknown},
    {"LongerName", "texts/plain", DwMime::kTypeUnknown},
    {"ShorterName", "tex/plain", DwMime::kTypeUnknown},
    {"NulInName", "te\0xt/plain"sv, DwMime::kTypeUnknown},
    {"DleInName", "\x10text/plain", DwMime::kTypeUnknown},
    {"DelInName", "\x7Ftext/plain", DwMime::kTypeUnknown},
    {"EightBitName", "text\xE9/plain", DwMime::kTypeUnknown},
    {"TypeInBracketsIsPassedOver", "[text]/plain", DwMime::kTypeUnknown},
    {"AllInBrackets", "[text/plain]", DwMime::kTypeNull},
    {"OpenBracketBefore", "[text/plain", DwMime::kTypeNull},
    {"OpenBracketAfter", "text[/plain", DwMime::kTypeText},
    {"OpenComment", "(text/plain", DwMime::kTypeNull},
};

INSTANTIATE_TEST_SUITE_P(Rows, MediaTypeCode, testing::ValuesIn(kTypes));

struct Parameters : NamedRow {
  std::string_view text;
  std::string_view want;
};

class MediaTypeParameters : public testing::TestWithParam<Parameters> {};

TEST_P(MediaTypeParameters, AreFound) {
  DwMediaType type(string_of(GetParam().text));
  std::string got;
  for (const DwParameter* p = type.FirstParameter(); p != nullptr; p = p->Next()) {
    got += bytes_of(p->Attribute()) + "=" + bytes_of(p->Value()) + "\n";
  }
  EXPECT_EQ(got, GetParam().want);
}

constexpr Parameters kParameters[] = {
    {"NoneInNothing", "", ""},
    {"NoneAfterAType", "text/plain", ""},
    {"NoneAfterASemicolon", "text/plain;", ""},
    {"One", "text/plain; charset=utf-8", "charset=utf-8\n"},
    {"Two", "text/plain; charset=utf-8; format=flowed", "charset=utf-8\nformat=flowed\n"},
    {"CaseKept", "text/plain; CharSet=UTF-8", "CharSet=UTF-8\n"},
    {"BlanksAndLineEnds", "text/plain ;\r\n\tcharset = utf-8 ", "charset=utf-8\n"},
    {"Comments", "text/plain (c); charset (d) = (e) utf-8 (f); a=b", "charset=utf-8\na=b\n"},
    {"QuotedValue", "text/plain; name=\"a; b=c\"; d=e", "name=a; b=c\nd=e\n"},
    {"EmptyQuotedValue", "text/plain; charset=\"\"", "charset=\n"},
    {"BackslashesKept", R"(text/plain; name="a\"b\\c")", "name=a\\\"b\\\\c\n"},
    {"NulInQuotedValue", "text/plain; name=\"a\0b\""sv, "name=a\0b\n"sv},
    {"EightBitValue", "text/plain; charset=utf-8\xE9", "charset=utf-8\xE9\n"},
    {"DleAndDelInNameAndValue", "text/plain; a\x10=b\x7F", "a\x10=b\x7F\n"},
    {"ValueInBracketsIsPassedOver", "text/plain; a=[b]c; d=e", "a=c\nd=e\n"},
    {"NameForAValueInBrackets", "text/plain; a=[b]; c=d", "a=c\n"},
    {"NameInBracketsIsPassedOver", "text/plain; [a]; b=c", "b=c\n"},
    {"SubtypeInBracketsIsPassedOver", "text/[plain]; charset=utf-8", ""},
    {"OpenBracketInSubtype", "text/pla[in; charset=utf-8", ""},
    {"OpenBracketInName", "text/plain; a=b; cha[rset=utf-8; d=e", "a=b\n"},
    {"OpenBracketInValue", "text/plain; a=b; c=[d; e=f", "a=b\n"},
    {"ClosingBracketInValue", "text/plain; a=b]; c=d", "a=b\nc=d\n"},
    {"BracketsAfterValue", "text/plain [x]; a=b [x]; c=d", "a=b\nc=d\n"},
    {"NoValue", "text/plain; charset", ""},
    {"EmptyValue", "text/plain; charset=", ""},
    {"NoName", "text/plain; =utf-8", ""},
    {"OpenQuotedValue", "text/plain; charset=\"utf-8", ""},
    {"SemicolonTwice", "text/plain;; charset=utf-8", "charset=utf-8\n"},
    {"NoSemicolon", "text/plain charset=utf-8", ""},
    {"CommaForSemicolon", "text/plain, charset=utf-8", ""},
    {"NoSubtype", "text; charset=utf-8", ""},
    {"NoSubtypeAndTwoParameters", "text; format=flowed; charset=utf-8", ""},
    {"SlashAfterTheParameters", "text; a=b; c=d /e; f=g", "f=g\n"},
    {"EqualsSignTwice", "text/plain; a==b", "a=b\n"},
    {"BlankInValue", "text/plain; a=b c; d=e", "a=b\nd=e\n"},
    {"SlashInValue", "text/plain; a=b/c", "a=b\n"},
    {"ExtendedName", "text/plain; charset*=utf-8''x", "charset*=utf-8''x\n"},
    {"SameNameTwice", "text/plain; a=1; a=2", "a=1\na=2\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, MediaTypeParameters, testing::ValuesIn(kParameters));

struct BoundaryOf : NamedRow {
  std::string_view text;
  std::string_view want;
};

class MediaTypeBoundary : public testing::TestWithParam<BoundaryOf> {};

TEST_P(MediaTypeBoundary, IsTheValueOfItsParameter) {
  EXPECT_EQ(bytes_of(DwMediaType(string_of(GetParam().text)).Boundary()), GetParam().want);
}

constexpr BoundaryOf kBoundaries[] = {
    {"None", "multipart/mixed", ""},
    {"Plain", "multipart/mixed; boundary=b", "b"},
    {"Quoted", "multipart/mixed; boundary=\"b b=\"", "b b="},
    {"OtherCase", "multipart/mixed; BOUNDARY=B", "B"},
    {"AfterOthers", "multipart/mixed; charset=x; boundary=b", "b"},
    {"FirstOfTwo", "multipart/mixed; boundary=a; boundary=b", "a"},
    {"Empty", "multipart/mixed; boundary=\"\"", ""},
    {"LongerName", "multipart/mixed; boundaryx=b", ""},
    {"InBrackets", "multipart/mixed; boundary=[b]", ""},
    {"OpenBracketBefore", "multipart/mixed[; boundary=b", ""},
};

INSTANTIATE_TEST_SUITE_P(Rows, MediaTypeBoundary, testing::ValuesIn(kBoundaries));

TEST(MediaType, GivesTheSameSuccessorEveryTime) {
  DwMediaType type("text/plain; a=1; b=2");
  const DwParameter* const first = type.FirstParameter();
  const DwParameter* const second = first->Next();
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(first->Next(), second);
  EXPECT_EQ(second->Next(), nullptr);
}

TEST(MediaType, KnowsItsText) {
  DwMediaType type("text/plain; a=1");
  EXPECT_EQ(bytes_of(type.AsString()), "text/plain; a=1");
}

class MechanismCode : public testing::TestWithParam<Code> {};

TEST_P(MechanismCode, IsThatOfTheEncoding) {
  EXPECT_EQ(DwMechanism(string_of(GetParam().text)).AsEnum(), GetParam().want);
}

constexpr Code kEncodings[] = {
    {"Empty", "", DwMime::kCteNull},
    {"SevenBit", "7bit", DwMime::kCte7bit},
    {"EightBit", "8bit", DwMime::kCte8bit},
    {"Binary", "binary", DwMime::kCteBinary},
    {"QuotedPrintable", "quoted-printable", DwMime::kCteQuotedPrintable},
    {"Base64", "base64", DwMime::kCteBase64},
    {"OtherCase", "Quoted-PRINTABLE", DwMime::kCteQuotedPrintable},
    {"OtherName", "x-uuencode", DwMime::kCteUnknown},
    {"HyphenInBase64", "base-64", DwMime::kCteUnknown},
    {"CommentAfter", "base64 (c)", DwMime::kCteUnknown},
    {"CommentBefore", "(c) base64", DwMime::kCteUnknown},
    {"Quoted", "\"base64\"", DwMime::kCteUnknown},
    {"SemicolonAfter", "base64;", DwMime::kCteUnknown},
    {"NulAfter", "base64\0"sv, DwMime::kCteUnknown},
    {"TwoNames", "base64 base64", DwMime::kCteUnknown},
};

INSTANTIATE_TEST_SUITE_P(Rows, MechanismCode, testing::ValuesIn(kEncodings));

}  // namespace
