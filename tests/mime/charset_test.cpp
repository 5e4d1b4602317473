#include "mime/charset.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "charset_calls.h"
#include "iconv_spy.h"
#include "support/base/ex_error.h"

using namespace std::string_view_literals;

namespace {

struct Conversion : NamedRow {
  std::string_view text;
  const char* from;
  const char* to;
  std::string_view want;
};

class CharsetConversion : public testing::TestWithParam<Conversion> {};

TEST_P(CharsetConversion, WithReplacementGives) {
  const Conversion& row = GetParam();
  EXPECT_EQ(convert_charset(Exactly(row.text), row.from, row.to, true), row.want);
}

constexpr Conversion kConversions[] = {
    {"NothingForNothing", "", "UTF-8", "UTF-8", ""},
    {"PlainText", "Hello, world.\n", "US-ASCII", "UTF-8", "Hello, world.\n"},
    {"Latin1AsUtf8", "Gr\xFC\xDF", "ISO-8859-1", "UTF-8", "Gr\xC3\xBC\xC3\x9F"},
    {"Utf8AsLatin1", "Gr\xC3\xBC\xC3\x9F", "UTF-8", "ISO-8859-1", "Gr\xFC\xDF"},
    {"Utf16AsUtf8", "A\0\xE4\0"sv, "UTF-16LE", "UTF-8", "A\xC3\xA4"},
    {"NulBytesAsTheyAre", "a\0b\0"sv, "UTF-8", "UTF-8", "a\0b\0"sv},
    {"QuestionMarkForInvalidByte", "A\xFF\x42", "UTF-8", "UTF-8", "A?B"},
    {"QuestionMarkForInvalidFirstByte", "\xFF\x42", "UTF-8", "UTF-8", "?B"},
    {"QuestionMarkForInvalidLastByte", "A\xFF", "UTF-8", "UTF-8", "A?"},
    {"QuestionMarkForEachByteOfABadSequence", "a\xE0\x80\x80z", "UTF-8", "UTF-8", "a???z"},
    {"QuestionMarkForASequenceCutByText", "a\xC3z", "UTF-8", "UTF-8", "a?z"},
    {"QuestionMarkForEachByteWithoutCounterpart", "a\xE2\x82\xACz", "UTF-8", "ISO-8859-1", "a???z"},
    {"QuestionMarkForEightBitsInSevenBitText", "a\xE4z", "US-ASCII", "UTF-8", "a?z"},
    {"NoClosingShiftSequence", "\xE3\x81\x82", "UTF-8", "ISO-2022-JP", "\x1B$B$\""},
};

INSTANTIATE_TEST_SUITE_P(Rows, CharsetConversion, testing::ValuesIn(kConversions));

struct Failure : NamedRow {
  std::string_view text;
  const char* from;
  const char* to;
  bool replace_invalid;
  const char* want;
};

class CharsetFailure : public testing::TestWithParam<Failure> {};

TEST_P(CharsetFailure, IsThrownFor) {
  const Failure& row = GetParam();
  EXPECT_EQ(failure(row.text, row.from, row.to, row.replace_invalid), row.want);
}

constexpr Failure kFailures[] = {
    {"UnknownSource", "text", "x-unknown", "utf-8", true, "Cannot convert from x-unknown to utf-8"},
    {"UnknownTarget", "text", "UTF-8", "x-unknown", true, "Cannot convert from UTF-8 to x-unknown"},
    {"UnknownSourceOfNoText", "", "x-unknown", "UTF-8", true,
     "Cannot convert from x-unknown to UTF-8"},
    {"UnknownSourceOfInvalidText", "\xFF\xC3", "x-unknown", "UTF-8", false,
     "Cannot convert from x-unknown to UTF-8"},
    {"InvalidByteWithoutReplacement", "A\xFF\x42", "UTF-8", "UTF-16", false,
     "Conversion from UTF-8 to UTF-16"},
    {"NoCounterpartWithoutReplacement", "\xE2\x82\xAC", "UTF-8", "ISO-8859-1", false,
     "Conversion from UTF-8 to ISO-8859-1"},
    {"CutTwoByteSequence", "Gr\xC3", "UTF-8", "utf-8", true, "Conversion from UTF-8 to utf-8"},
    {"CutFourByteSequence", "\xF0\x9F\x98", "UTF-8", "UTF-8", true,
     "Conversion from UTF-8 to UTF-8"},
    {"CutSequenceWithoutReplacement", "Gr\xC3", "UTF-8", "UTF-8", false,
     "Conversion from UTF-8 to UTF-8"},
    {"HalfUnitOfUtf16", "A\0B"sv, "UTF-16LE", "UTF-8", true, "Conversion from UTF-16LE to UTF-8"},
};

INSTANTIATE_TEST_SUITE_P(Rows, CharsetFailure, testing::ValuesIn(kFailures));

TEST(Charset, ConvertsWithoutReplacementWhatIsValid) {
  EXPECT_EQ(convert_charset("Gr\xFC\xDF", "ISO-8859-1", "UTF-8", false), "Gr\xC3\xBC\xC3\x9F");
}

TEST(Charset, JoinsTheChunksOfALongText) {
  EXPECT_EQ(convert_charset(times(4096, "a"), "UTF-8", "UTF-8", true), times(4096, "a"));
  EXPECT_EQ(convert_charset(times(4097, "a"), "UTF-8", "UTF-8", true), times(4097, "a"));
  EXPECT_EQ(convert_charset(times(5000, "\xE4"), "ISO-8859-1", "UTF-8", true),
            times(5000, "\xC3\xA4"));
}

TEST(Charset, DoesNotTearACharacterAtTheEndOfAChunk) {
  EXPECT_EQ(convert_charset("a" + times(5000, "\xE4"), "ISO-8859-1", "UTF-8", true),
            "a" + times(5000, "\xC3\xA4"));
  EXPECT_EQ(convert_charset(times(4095, "a") + "\xFF" + times(4095, "b") + "\xFF\xC3\xA4", "UTF-8",
                            "UTF-8", true),
            times(4095, "a") + "?" + times(4095, "b") + "?\xC3\xA4");
}

TEST(Charset, ReplacesManyInvalidBytes) {
  EXPECT_EQ(convert_charset(std::string(100000, '\xFF'), "UTF-8", "UTF-8", true),
            std::string(100000, '?'));
}

// Kept: the message names utf-8 whatever the target was.
TEST(Charset, ThrowsWhenClosingFails) {
  iconv_spy.closing_fails = true;
  const std::string got = failure("text", "UTF-8", "ISO-8859-1", true);
  iconv_spy.closing_fails = false;
  EXPECT_EQ(got, "Closing conversion from UTF-8 to utf-8 failed");
}

TEST(Charset, ConvertsNoEmptyText) {
  const int before = iconv_spy.steps;
  EXPECT_EQ(convert_charset("", "KOI8-R", "UTF-8", true), "");
  EXPECT_EQ(iconv_spy.steps, before);
  EXPECT_EQ(failure("", "x-unknown", "UTF-8", true), "Cannot convert from x-unknown to UTF-8");
}

// Otherwise the step would be repeated for ever.
TEST(Charset, GivesUpAConversionThatDoesNotMove) {
  iconv_spy.moves = false;
  const std::string got = failure("text", "UTF-8", "ISO-8859-1", true);
  iconv_spy.moves = true;
  EXPECT_EQ(got, "Conversion from UTF-8 to ISO-8859-1");
}

TEST(Charset, GivesUpAConversionThatWritesWithoutReading) {
  iconv_spy.reads = false;
  const std::string got = failure("text", "UTF-8", "ISO-8859-1", true);
  iconv_spy.reads = true;
  EXPECT_EQ(got, "Conversion from UTF-8 to ISO-8859-1");
}

TEST(Charset, StopsWhereTheReceiverWantsNoMore) {
  for (const char* from : {"UTF-8", "ISO-8859-1", "KOI8-R"}) {
    int pieces = 0;
    convert_charset_in_pieces(times(10000, "a\xFF"), from, "UTF-8", true,
                              [&pieces](std::string_view) { return ++pieces < 3; });
    EXPECT_EQ(pieces, 3) << from;
  }
  std::string got;
  convert_charset_in_pieces(
      "a\xFF"
      "bbb\xFF"
      "ccc",
      "UTF-8", "UTF-8", true, [&got](std::string_view piece) {
        got += piece;
        return piece != "?";
      });
  EXPECT_EQ(got, "a?");
}

TEST(Charset, ClosesEveryConversionThatItOpens) {
  const int before = iconv_spy.open;
  convert_charset("text", "UTF-8", "UTF-8", true);
  EXPECT_EQ(iconv_spy.open, before);
  EXPECT_EQ(failure("\xC3", "UTF-8", "UTF-8", true), "Conversion from UTF-8 to UTF-8");
  EXPECT_EQ(iconv_spy.open, before);
}

TEST(Charset, KnowsWhichTextStaysAsItIs) {
  EXPECT_TRUE(is_unchanged("Gr\xC3\xBC\xC3\x9F", "utf-8", "UTF-8"));
  EXPECT_TRUE(is_unchanged("plain", "US-ASCII", "UTF-8"));
  EXPECT_TRUE(is_unchanged("", "UTF8", "UTF-8"));
  EXPECT_FALSE(is_unchanged("Gr\xC3\xBC\xC3", "UTF-8", "UTF-8"));
  EXPECT_FALSE(is_unchanged("Gr\xC3\xBC\xC3\x9F", "US-ASCII", "UTF-8"));
  EXPECT_FALSE(is_unchanged("plain", "US-ASCII", "UTF-16"));
  EXPECT_FALSE(is_unchanged("plain", "ISO-8859-1", "UTF-8"));
  EXPECT_FALSE(is_unchanged("plain", "UTF-8//IGNORE", "UTF-8"));
  EXPECT_FALSE(is_unchanged("", "x-unknown", "UTF-8"));
}

// Charset names come from messages, and to iconv some are more than the name of a charset. Any
// result is allowed; but the conversion must end, and read nothing beyond the text.
struct CharsetName : NamedRow {
  const char* charset;
};

class HostileCharsetName : public testing::TestWithParam<CharsetName> {};

TEST_P(HostileCharsetName, EndsInATextOrInAnError) {
  const std::string hostile = GetParam().charset;
  const std::string texts[] = {"",
                               "plain",
                               "Gr\xC3\xBC\xC3\x9F",
                               "\xE2\x82\xAC",
                               "A\xFF\x42",
                               "\xFF",
                               "A\xC3",
                               "\xF0\x9F\x98",
                               std::string("a\0b", 3),
                               times(3000, "\xC3\xBC\xFF") + "\xC3"};
  for (const std::string& text : texts) {
    for (const bool as_source : {true, false}) {
      const std::string from = as_source ? hostile : "UTF-8";
      const std::string to = as_source ? "UTF-8" : hostile;
      SCOPED_TRACE(testing::Message() << "from '" << from << "' to '" << to << "': " << text);
      try {
        EXPECT_LE(convert_charset(Exactly(text), from, to, true).size(), 4 * text.size() + 4);
      } catch (const quern::ExError& error) {
        const std::string names = "from " + from + " to " + to;
        EXPECT_TRUE(error.what() == "Cannot convert " + names ||
                    error.what() == "Conversion " + names)
            << error.what();
      }
    }
  }
}

constexpr CharsetName kHostileNames[] = {
    {"Empty", ""},
    {"Slash", "/"},
    {"TwoSlashes", "//"},
    {"ThreeSlashes", "///"},
    {"IgnoreAlone", "//IGNORE"},
    {"EmptySuffix", "UTF-8//"},
    {"Ignore", "UTF-8//IGNORE"},
    {"Translit", "UTF-8//TRANSLIT"},
    {"TranslitAndIgnore", "UTF-8//TRANSLIT//IGNORE"},
    {"TranslitToSevenBits", "ASCII//TRANSLIT"},
    {"WithByteOrderMark", "UTF-16"},
    {"WithShifts", "UTF-7"},
    {"WithEscapes", "ISO-2022-JP"},
    {"Path", "../../../etc/passwd"},
    {"Format", "%s%n"},
    {"BlankAtTheEnd", "utf-8 "},
    {"EightBitByte", "\xFF"},
};

INSTANTIATE_TEST_SUITE_P(Rows, HostileCharsetName, testing::ValuesIn(kHostileNames));

TEST(Charset, DoesNotKnowANameOfThreeHundredLetters) {
  const std::string name(300, 'x');
  EXPECT_EQ(failure("text", name, "UTF-8", true), "Cannot convert from " + name + " to UTF-8");
  EXPECT_EQ(failure("\xC3", "UTF-8", name, true), "Cannot convert from UTF-8 to " + name);
}

}  // namespace
