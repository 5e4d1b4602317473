#include <string_view>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/panel/rule.h"

using namespace std::string_view_literals;

namespace {

struct Row : NamedRow {
  std::string_view text;
  bool want;
};

class ReplyTo : public testing::TestWithParam<Row> {};

TEST_P(ReplyTo, CanBeParsedIfAllHasItsEnd) {
  EXPECT_EQ(can_be_parsed(GetParam().text), GetParam().want);
}

constexpr Row kRows[] = {
    {"Nothing", "", true},
    {"Blanks", " \t", true},
    {"Address", "a@b.example", true},
    {"Name", "\"Shop\" <a@b.example>", true},
    {"QuoteWithoutEnd", "\"Shop <a@b.example>", false},
    {"EscapedQuote", "\"Shop\\\" <a@b.example>", false},
    {"QuoteInAName", "Shop\" <a@b.example>", false},
    {"Comment", "a@b.example (the (only) shop)", true},
    {"CommentWithoutEnd", "a@b.example (the (only shop)", false},
    {"CommentWithoutStart", "a@b.example )", false},
    {"ParenthesisInAnAtom", "a)b@b.example", true},
    {"Literal", "a@[192.0.2.1]", true},
    {"LiteralWithoutEnd", "a@[192.0.2.1", false},
    {"LiteralWithoutStart", "a@ ]", false},
    {"BackslashAtTheEnd", "a\\", true},
    {"BackslashAtTheEndOfAComment", "(a\\", false},
    {"EscapedBlank", "a\\ b@c", true},
    {"AngleWithoutEnd", "Shop <a@b.example", true},
    {"AngleWithoutStart", "a@b.example>", false},
    {"AngleThatEndsTwice", "<a@b>, c>", true},
    {"AngleThatSpansAddresses", "<a@b, c>", true},
    {"Two", "a@b, c@d", true},
    {"Commas", ",,a@b,", true},
    {"Group", "shop: a@b, c@d;", true},
    {"GroupWithoutEnd", "shop: a@b", false},
    {"GroupWithoutStart", "a@b;", true},
    {"TwoGroups", "a: b@c;, d: e@f;", true},
    {"GroupInAGroup", "a@b; c@d;", false},
    {"NameOfAGroupThatIsOdd", "a> ; b: c@d;", true},
    {"NonAscii",
     "Gr\xC3\xBC\xC3\x9F"
     "e <a@b>",
     true},
    {"Nul", "a\0\""sv, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, ReplyTo, testing::ValuesIn(kRows));

}  // namespace
