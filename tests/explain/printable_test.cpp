#include "explain/printable.h"

#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"

using namespace std::string_view_literals;

namespace {

struct Row : NamedRow {
  std::string_view text;
  std::string_view want;
};

class Printable : public testing::TestWithParam<Row> {};

TEST_P(Printable, Is) {
  EXPECT_EQ(printable(GetParam().text), GetParam().want);
}

constexpr Row kRows[] = {
    {"Nothing", "", ""},
    {"Ascii", "a b~", "a b~"},
    {"Umlaut", "Gr\xC3\xBC\xC3\x9F", "Gr\xC3\xBC\xC3\x9F"},
    {"ThreeBytes", "\xE6\x97\xA5", "\xE6\x97\xA5"},
    {"FourBytes", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    {"ForPrivateUse", "\xF4\x8F\xBF\xBD", "\xF4\x8F\xBF\xBD"},
    {"NoCharacter", "\xF4\x8F\xBF\xBF", "\\xF4\\x8F\\xBF\\xBF"},
    {"LineEnds", "a\r\nb\tc", "a\\x0D\\x0Ab\\x09c"},
    {"Nul", "a\0b"sv, "a\\x00b"},
    {"Escape", "\033[2J", "\\x1B[2J"},
    {"Delete", "\x7F", "\\x7F"},
    {"FirstHighControl", "\xC2\x80", "\\xC2\\x80"},
    {"LastHighControl", "\xC2\x9F", "\\xC2\\x9F"},
    {"AfterTheHighControls", "\xC2\xA0", "\xC2\xA0"},
    {"TurnedAround",
     "a\xE2\x80\xAE"
     "b",
     "a\\xE2\\x80\\xAE"
     "b"},
    {"LineSeparator", "\xE2\x80\xA8", "\\xE2\\x80\\xA8"},
    {"NoWidth", "\xE2\x80\x8B", "\\xE2\\x80\\x8B"},
    {"ByteOrderMark", "\xEF\xBB\xBF", "\\xEF\\xBB\\xBF"},
    {"SoftHyphen", "\xC2\xAD", "\\xC2\\xAD"},
    {"GraphemeJoiner", "\xCD\x8F", "\\xCD\\x8F"},
    {"ArabicNumberSign", "\xD8\x80", "\\xD8\\x80"},
    {"ArabicLetterMark", "\xD8\x9C", "\\xD8\\x9C"},
    {"HangulFiller", "\xE1\x85\x9F", "\\xE1\\x85\\x9F"},
    {"MongolianVowelSeparator", "\xE1\xA0\x8E", "\\xE1\\xA0\\x8E"},
    {"DeprecatedControl", "\xE2\x81\xAA", "\\xE2\\x81\\xAA"},
    {"WideHangulFiller", "\xE3\x85\xA4", "\\xE3\\x85\\xA4"},
    {"VariationSelector", "\xEF\xB8\x8F", "\\xEF\\xB8\\x8F"},
    {"Annotation", "\xEF\xBF\xB9", "\\xEF\\xBF\\xB9"},
    {"MusicalControl", "\xF0\x9D\x85\xB3", "\\xF0\\x9D\\x85\\xB3"},
    {"Tag", "\xF3\xA0\x81\x81", "\\xF3\\xA0\\x81\\x81"},
    {"Backslash", "a\\x1B", "a\\\\x1B"},
    {"BeforeTheSoftHyphen", "\xC2\xAC", "\xC2\xAC"},
    {"ReplacementCharacter", "\xEF\xBF\xBD", "\xEF\xBF\xBD"},
    {"NarrowBlank", "\xE2\x80\x8A", "\xE2\x80\x8A"},
    {"Dash", "\xE2\x80\x94", "\xE2\x80\x94"},
    {"Latin1",
     "\xFC"
     "a",
     "\\xFC"
     "a"},
    {"ContinuationAlone", "\x80", "\\x80"},
    {"Truncated", "\xE6\x97", "\\xE6\\x97"},
    {"TruncatedInText", "\xE6\x97 x", "\\xE6\\x97 x"},
    {"OverlongTwoBytes", "\xC0\xAF", "\\xC0\\xAF"},
    {"OverlongThreeBytes", "\xE0\x9F\xBF", "\\xE0\\x9F\\xBF"},
    {"OverlongFourBytes", "\xF0\x8F\xBF\xBF", "\\xF0\\x8F\\xBF\\xBF"},
    {"Surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
    {"AboveTheHighest", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
};

INSTANTIATE_TEST_SUITE_P(Rows, Printable, testing::ValuesIn(kRows));

TEST(PrintableLines, KeepLineEndsAndTabs) {
  EXPECT_EQ(printable_lines("a\n\tb\r\033"), "a\n\tb\\x0D\\x1B");
}

}  // namespace
