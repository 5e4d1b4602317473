#include "mime/encoded_word.h"

#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "support/base/ex_error.h"

using namespace std::string_view_literals;

namespace {

struct Value : NamedRow {
  std::string_view value;
  std::string_view want;
  std::string_view message;
};

// Compares what `decode` returns and reports with the row.
void expect_row(std::string (*decode)(std::string_view), const Value& row) {
  testing::internal::CaptureStderr();
  const std::string got = decode(row.value);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
  EXPECT_EQ(got, row.want);
}

class EncodedWord : public testing::TestWithParam<Value> {};

TEST_P(EncodedWord, Decodes) {
  expect_row(rfc1522_decode, GetParam());
}

constexpr Value kValues[] = {
    {"Nothing", "", "", ""},
    {"PlainText", "Hello world", "Hello world", ""},
    {"BlanksAtBothEnds", " \t a  b\t", " \t a  b\t", ""},
    {"BlanksAlone", "   ", "   ", ""},
    {"EightBitBytesAsTheyAre", "Gr\xFC\xDF\0"sv, "Gr\xFC\xDF\0"sv, ""},
    {"QEncoding", "=?ISO-8859-1?Q?Gr=FC=DFe?=",
     "Gr\xC3\xBC\xC3\x9F"
     "e",
     ""},
    {"BEncoding", "=?UTF-8?B?R3LDvMOfZQ==?=",
     "Gr\xC3\xBC\xC3\x9F"
     "e",
     ""},
    {"LowerCaseEncodings", "=?utf-8?q?a?= =?utf-8?b?Yg==?=", "ab", ""},
    {"WordAfterText", "Re: =?utf-8?q?x_y?=", "Re: x y", ""},
    {"TextAfterWord", "=?utf-8?q?a?=  tail", "a  tail", ""},
    {"EmptyData", "=?utf-8?Q?\?=", "", ""},
    {"DataThatStartsWithAnEscape", "=?utf-8?Q?=41?=", "A", ""},
    {"WordInsideText", "x=?utf-8?Q?a?=", "x=?utf-8?Q?a?=", ""},
    {"UnknownEncodingAsNothing", "=?utf-8?X?abc?=", "", ""},
    {"LongEncodingAsNothing", "=?utf-8?QQ?abc?=", "", ""},
    {"EmptyEncodingAsNothing", "=?utf-8?\?abc?=", "", ""},
    {"InvalidByteAsQuestionMark", "=?utf-8?Q?a=FFb?=", "a?b", ""},
    {"NulInData", "=?utf-8?Q?a=00b?=", "a\0b"sv, ""},
    {"BadHexInData", "=?utf-8?Q?a=ZZ?=", "a\0"sv, "Bad hex in quoted-printable string: ZZ\n"},
    {"BadSymbolInData", "=?utf-8?B?QU*JD?=", "ABC", "Bad base64 symbol: *\n"},

    {"BlankBetweenWordsDropped", "=?utf-8?Q?Caf=C3=A9?= =?utf-8?B?QUJD?=",
     "Caf\xC3\xA9"
     "ABC",
     ""},
    {"ManyBlanksBetweenWordsDropped", "=?utf-8?Q?a?= \t \t=?utf-8?Q?b?=", "ab", ""},
    {"BlanksOfThreeWordsDropped", "=?utf-8?Q?a?= =?utf-8?Q?b?= =?utf-8?Q?c?=", "abc", ""},
    {"WordsWhoseCharsetsTakeTurns",
     "=?koi8-r?Q?=C1?= =?iso-8859-1?Q?=E4?= =?koi8-r?Q?=C2?= =?iso-8859-15?Q?=A4?= "
     "=?iso-8859-1?Q?=A4?= =?koi8-r?Q?=C1?=",
     "\xD0\xB0\xC3\xA4\xD0\xB1\xE2\x82\xAC\xC2\xA4\xD0\xB0", ""},
    {"BlankBeforeTextBetweenWordsKept", "=?utf-8?Q?a?= x =?utf-8?Q?b?=", "a x b", ""},
    {"BlankAfterTextLikeTheEndOfAWordDropped", "a?= =?utf-8?Q?b?=", "a?=b", ""},
    {"BlankAfterTheShortestEndDropped", "?= =?utf-8?Q?b?=", "?=b", ""},
    {"BlankTooNearTheStartKept", "= =?utf-8?Q?b?=", "= b", ""},
    {"BlankBeforeALastByteKept", "=?utf-8?Q?a?= =", "a =", ""},
    {"BlankBeforeAnUnfinishedWordDropped", "=?utf-8?Q?a?= =?", "a=?",
     "wrong rfc1522 sequence (no charset): =?\n"},
    {"LineEndBetweenWordsKept", "=?utf-8?Q?a?=\n =?utf-8?Q?b?=", "a\n b",
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=\n\n"},

    {"NoCharset", "=?utf-8", "=?utf-8", "wrong rfc1522 sequence (no charset): =?utf-8\n"},
    {"NoCharsetAtAll", "=?", "=?", "wrong rfc1522 sequence (no charset): =?\n"},
    {"NoEncoding", "=?utf-8?Q", "=?utf-8?Q", "wrong rfc1522 sequence (no encoding): =?utf-8?Q\n"},
    {"NoData", "=?utf-8?Q?abc", "=?utf-8?Q?abc",
     "wrong rfc1522 sequence (no data): =?utf-8?Q?abc\n"},
    {"NoDataBetweenTheMarks",
     "=?utf-8?Q?=", "=?utf-8?Q?=", "wrong rfc1522 sequence (no data): =?utf-8?Q?=\n"},
    {"DataWithBlank",
     "=?utf-8?Q?a b?=", "=?utf-8?Q?a b?=", "wrong rfc1522 sequence (no data): =?utf-8?Q?a\n"},
    {"TrailingText", "=?utf-8?Q?abc?=xyz", "abcxyz",
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?abc?=xyz\n"},
    {"TrailingWordNotDecoded", "=?utf-8?Q?a?==?utf-8?Q?b?=", "a=?utf-8?Q?b?=",
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?==?utf-8?Q?b?=\n"},
    {"EndMarkInData",
     "=?utf-8?Q?a?=b?=", "ab?=", "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=b?=\n"},
    {"TrailingTextOfAnUnknownEncoding", "=?utf-8?X?abc?=xyz", "xyz",
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?X?abc?=xyz\n"},
    {"TrailingTextBeforeItsBadHex", "=?utf-8?Q?=ZZ?=x", "\0x"sv,
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?=ZZ?=x\n"
     "Bad hex in quoted-printable string: ZZ\n"},
    {"EachMalformedWord", "=?a =?b?Q", "=?a =?b?Q",
     "wrong rfc1522 sequence (no charset): =?a\nwrong rfc1522 sequence (no encoding): =?b?Q\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, EncodedWord, testing::ValuesIn(kValues));

struct Failure : NamedRow {
  std::string_view value;
  const char* want;
};

class EncodedWordFailure : public testing::TestWithParam<Failure> {};

TEST_P(EncodedWordFailure, IsThrownFor) {
  try {
    rfc1522_decode(GetParam().value);
    FAIL() << "nothing thrown";
  } catch (const quern::ExError& error) {
    EXPECT_STREQ(error.what(), GetParam().want);
  }
}

constexpr Failure kFailures[] = {
    {"UnknownCharset", "=?x-unknown?Q?abc?=", "Cannot convert from x-unknown to utf-8"},
    {"UnknownCharsetAfterText",
     "Re: =?x-unknown?B?QUJD?=", "Cannot convert from x-unknown to utf-8"},
    {"UnknownCharsetOfNoData", "=?x-unknown?Q?\?=", "Cannot convert from x-unknown to utf-8"},
    {"UnknownCharsetInAnUnknownEncoding",
     "=?x-unknown?X?abc?=", "Cannot convert from x-unknown to utf-8"},
    {"CharsetWithLanguage", "=?utf-8*en?Q?abc?=", "Cannot convert from utf-8*en to utf-8"},
    {"CutSequence", "=?UTF-8?Q?Gr=C3?=", "Conversion from UTF-8 to utf-8"},
};

INSTANTIATE_TEST_SUITE_P(Rows, EncodedWordFailure, testing::ValuesIn(kFailures));

TEST(EncodedWord, ThrowsForBlanksAfterALastWord) {
  EXPECT_THROW(rfc1522_decode("=?utf-8?Q?a?= "), std::out_of_range);
  EXPECT_THROW(rfc1522_decode("=?utf-8?Q?a?=\t  "), std::out_of_range);
  EXPECT_THROW(rfc1522_decode("what?= "), std::out_of_range);
  EXPECT_THROW(rfc1522_decode("?= "), std::out_of_range);
}

std::string in_brackets(std::string_view token) {
  return "[" + std::string(token) + "]";
}

TEST(DecodeTokens, PassesEveryTokenToTheDecoder) {
  EXPECT_EQ(decode_tokens("a \t b", in_brackets), "[a] \t [b]");
}

TEST(DecodeTokens, PassesTheEmptyTokenInFrontOfBlanks) {
  EXPECT_EQ(decode_tokens(" a", in_brackets), "[] [a]");
  EXPECT_EQ(decode_tokens("", in_brackets), "[]");
  EXPECT_EQ(decode_tokens(" ", in_brackets), "[] ");
}

TEST(DecodeTokens, PassesNothingAfterTheLastBlanks) {
  EXPECT_EQ(decode_tokens("a  ", in_brackets), "[a]  ");
}

TEST(DecodeTokens, TakesOnlySpaceAndTabForBlanks) {
  EXPECT_EQ(decode_tokens("a\nb\rc\vd\fe\0f\xA0g"sv, in_brackets), "[a\nb\rc\vd\fe\0f\xA0g]"sv);
}

TEST(DecodeTokens, LooksAtTheValueAndNotAtTheResultForWords) {
  EXPECT_EQ(decode_tokens("=?x?= =?y?=", in_brackets), "[=?x?=][=?y?=]");
}

TEST(DecodeWord, PassesShortTokensThrough) {
  EXPECT_EQ(rfc1522_decode_word(""), "");
  EXPECT_EQ(rfc1522_decode_word("="), "=");
  EXPECT_EQ(rfc1522_decode_word("?="), "?=");
}

TEST(DecodeWord, ReadsALongWordInLinearTime) {
  const std::string data(1000000, 'a');
  EXPECT_EQ(rfc1522_decode_word("=?utf-8?Q?" + data + "?="), data);
}

class UnfoldedField : public testing::TestWithParam<Value> {};

TEST_P(UnfoldedField, IsDecodedAsOneLine) {
  expect_row(decode_unfolded, GetParam());
}

constexpr Value kFolded[] = {
    {"Nothing", "", "", ""},
    {"OneLine", "Re:  Hello =?utf-8?Q?a?= =?utf-8?Q?b?= =?utf-8?B?Yw==?= d", "Re:  Hello abc d",
     ""},
    {"PlainLines", "Your order\n of\n\t Monday", "Your order of\t Monday", ""},
    {"PlainLinesWithCarriageReturns", "Your order\r\n of Monday", "Your order of Monday", ""},
    {"EncodedLines", "=?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus?=\n =?UTF-8?Q?_K=C3=B6ln?=",
     "Gr\xC3\xBC\xC3\x9F"
     "e aus K\xC3\xB6ln",
     ""},
    {"TextBetweenWords", "=?utf-8?Q?a?=\n x\n =?utf-8?Q?b?=", "a x b", ""},
    {"CharacterSplitBetweenWords", "=?UTF-8?B?R3LD?=\n =?utf-8?B?vMOfZQ==?=",
     "Gr\xC3\xBC\xC3\x9F"
     "e",
     ""},
    {"CharacterSplitBetweenEncodings", "=?utf-8?Q?=C3?= =?utf-8?B?vA==?=", "\xC3\xBC", ""},
    {"WordsWhoseCharsetsTakeTurns", "=?iso-8859-1?Q?=E4?= =?utf-8?Q?=C3=A4?= =?iso-8859-1?Q?=E4?=",
     "\xC3\xA4\xC3\xA4\xC3\xA4", ""},
    {"LineEndThatIsNoFold", "a\nb\rc\r d\n", "a\nb\rc\r d\n", ""},
    {"EmptyLineOfAFold", "a\n \n b", "a  b", ""},
    {"BlanksAfterALastWord", "=?utf-8?Q?a?= \t", "a \t", ""},
    {"TextLikeTheEndOfAWord", "what?= =?utf-8?Q?b?=", "what?= b", ""},
    {"EmptyWords", "=?utf-8?Q?\?= =?utf-8?Q?\?=", "", ""},
    {"MalformedWord", "=?utf-8?Q?a?=\n =?utf-8?Q?b", "a =?utf-8?Q?b",
     "wrong rfc1522 sequence (no data): =?utf-8?Q?b\n"},
    {"TextAfterAWord", "=?utf-8?Q?a?= =?utf-8?Q?b?=c", "a bc",
     "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?b?=c\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, UnfoldedField, testing::ValuesIn(kFolded));

TEST(UnfoldedField, ThrowsForACharacterWithoutItsEnd) {
  EXPECT_THROW(decode_unfolded("=?utf-8?Q?=C3?=\n x"), quern::ExError);
  EXPECT_THROW(decode_unfolded("=?utf-8?Q?=C3?= =?iso-8859-1?Q?=BC?="), quern::ExError);
}
}  // namespace
