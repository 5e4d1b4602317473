#include "autoresponder/intake/listed_addresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/message/courtesy_facts.h"

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> addresses_of(std::string_view list, size_t max_count = 100) {
  std::vector<std::string> addresses;
  add_listed_addresses(list, max_count, addresses);
  return addresses;
}

struct Row : NamedRow {
  std::string_view list;
  std::string_view want;  // with a blank after each
};

class ListedAddresses : public testing::TestWithParam<Row> {};

TEST_P(ListedAddresses, Are) {
  std::string all;
  for (const std::string& address : addresses_of(GetParam().list)) all += address + " ";
  EXPECT_EQ(all, GetParam().want);
}

constexpr Row kRows[] = {
    {"NoneInNothing", "", ""},
    {"NoneInAComment", "(a@b)", ""},
    {"NoneInACommentInAComment", "(nobody (a@b) c@d)", ""},
    {"AfterACommentWithAnEscape", "(x\\a) c@d", "c@d "},
    {"NotInACommentWithAnEscapedBracket", "(x\\) a@b) c@d", "c@d "},
    {"NoneInAQuotedName", "\"a@b\" <c@d>", "c@d "},
    {"One", "a@b", "a@b "},
    {"Several", "a@b, c@d,e@f", "a@b c@d e@f "},
    {"WithNames", "Otto Klein <a@b>, \"Klein, Otto\" <c@d>", "a@b c@d "},
    {"WithANameAndADot", "O. Klein <a@b>", "a@b "},
    {"WithAnAddressAsTheName", "x@y <a@b>", "a@b "},
    {"OverSeveralLines", "Otto\r\n <a@b>,\r\n\tc@d", "a@b c@d "},
    {"WithCommentsWithin", "a (A) @ (B) b . (C) c", "a@b.c "},
    {"WithQuotes", "\"john doe\"@b, \"in\\fo\"@c", "john doe@b info@c "},
    {"WithADomainInBrackets", "a@[192.0.2.1]", "a@[192.0.2.1] "},
    {"InAGroup", "team: a@b, Otto <c@d>;", "a@b c@d "},
    {"InAndAfterGroups", "one:;, two: a@b;, c@d", "a@b c@d "},
    {"InAGroupThatIsNotClosed", "team: a@b", "a@b "},
    {"NoneInAnEmptyGroup", "undisclosed-recipients:;", ""},
    {"AfterARoute", "<@x,@y:a@b>, c@d", "a@b c@d "},
    {"BetweenEmptyEntries", ",,a@b,, ,c@d,", "a@b c@d "},
    {"AfterAWrongEntry", "nobody, @b, <>, a@b", "a@b "},
    {"SeparatedBySemicolons", "a@b; c@d", "a@b c@d "},
    {"AfterAWordThatIsNoName", "Otto a@b", "a@b "},
    {"BeforeAWord", "a@b Otto", "a@b "},
    {"BetweenBracketsThatAreNotClosed", "Otto <a@b, c@d", "a@b c@d "},
    {"BetweenTheFirstBrackets", "<a@b> <c@d>", "a@b "},
    {"WithNuls", "a@b\0, c@d"sv, "a@b c@d "},
    {"InUtf8", "grüße@müller.example", "grüße@müller.example "},
};

INSTANTIATE_TEST_SUITE_P(Rows, ListedAddresses, testing::ValuesIn(kRows));

TEST(AddListedAddresses, AddsNoMoreThanAreWanted) {
  EXPECT_THAT(addresses_of("a@b, c@d, e@f", 2), ElementsAre("a@b", "c@d"));
}

TEST(AddListedAddresses, KeepsThoseOfOtherFields) {
  std::vector<std::string> addresses{"a@b"};
  add_listed_addresses("c@d", 100, addresses);
  EXPECT_THAT(addresses, ElementsAre("a@b", "c@d"));
}

TEST(AddListedAddresses, SkipsOneThatIsTooLong) {
  const std::string local_part(kMaxListedAddress - 2, 'x');
  EXPECT_THAT(addresses_of(local_part + "@b, c@d"), ElementsAre(local_part + "@b", "c@d"));
  EXPECT_THAT(addresses_of(local_part + "x@b, c@d"), ElementsAre("c@d"));
  EXPECT_THAT(addresses_of("\"" + local_part + "x\"@b, c@d"), ElementsAre("c@d"));
}

TEST(AddListedAddresses, ComesToTheEndOfWhatIsNeverClosed) {
  for (const char* const opened : {"(", "\"", "[", "<", "((", "\\", "(\\", "\"\\"}) {
    EXPECT_THAT(addresses_of(opened), IsEmpty()) << opened;
    EXPECT_THAT(addresses_of("a@b, " + std::string(opened)), ElementsAre("a@b")) << opened;
  }
}

}  // namespace
