#include "mimelib/address.h"

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "dw_strings.h"

using namespace std::string_view_literals;

namespace {

// An entry and all that follow it, one in each line: a mailbox's address, "group", or "invalid".
std::string entries_from(const DwAddress* entry) {
  std::string all;
  for (; entry != nullptr; entry = entry->Next()) {
    EXPECT_NE(entry->IsGroup(), entry->IsMailbox());
    if (!entry->IsValid()) {
      all += "invalid\n";
    } else if (entry->IsGroup()) {
      all += "group\n";
    } else {
      const auto& mailbox = static_cast<const DwMailbox&>(*entry);
      all += bytes_of(mailbox.LocalPart()) + "@" + bytes_of(mailbox.Domain()) + "\n";
    }
  }
  return all;
}

struct List : NamedRow {
  std::string_view text;
  std::string_view want;
};

class AddressListText : public testing::TestWithParam<List> {};

TEST_P(AddressListText, HasTheEntries) {
  DwAddressList list(string_of(GetParam().text));
  EXPECT_EQ(entries_from(list.FirstAddress()), GetParam().want);
}

constexpr List kAddressLists[] = {
    {"Empty", "", ""},
    {"WhiteSpace", " \r\n\t", ""},
    {"CommentAlone", "(nobody)", ""},
    {"CommasAlone", " , ,, ", ""},
    // RFC 822, A.1.
    {"NameAndMailbox", "Alfred Neuman <Neuman@BBN-TENEXA>", "Neuman@BBN-TENEXA\n"},
    {"MailboxAlone", "Neuman@BBN-TENEXA", "Neuman@BBN-TENEXA\n"},
    {"QuotedName", "\"George, Ted\" <Shared@Group.Arpanet>", "Shared@Group.Arpanet\n"},
    {"BlanksAroundDots", "Wilt . (the  Stilt) Chamberlain@NBA.US", "Wilt.Chamberlain@NBA.US\n"},
    {"GroupsAndMailbox",
     "Gourmets:  Pompous Person <WhoZiWhatZit@Cordon-Bleu>,\n"
     "           Childs@WGBH.Boston, Galloping Gourmet@\n"
     "           ANT.Down-Under (Australian National Television),\n"
     "           Cheapie@Discount-Liquors;,\n"
     "  Cruisers:  Port@Portugal, Jones@SEA;,\n"
     "    Another@Somewhere.SomeOrg",
     "group\ngroup\nAnother@Somewhere.SomeOrg\n"},
    // RFC 5322, A.5 and A.6.1.
    {"CommentsEverywhere", "Pete(A nice \\) chap) <pete(his account)@silly.test(his host)>",
     "pete@silly.test\n"},
    {"GroupWithComments",
     "A Group(Some people)\r\n     :Chris Jones <c@(Chris's host.)public.example>,\r\n"
     "         joe@example.org,\r\n  John <jdoe@one.test> (my dear friend); (the end)\r\n",
     "group\n"},
    {"EmptyGroup", "(Empty list)(start)Hidden recipients  :(nobody(that I know))  ;", "group\n"},
    {"EmptyEntry", "Mary Smith <@node.test:mary@example.net>, , jdoe@test  . example",
     "mary@example.net\njdoe@test.example\n"},

    {"TwoMailboxes", "a@b, c@d", "a@b\nc@d\n"},
    {"CaseKept", "Ann@Example.ORG", "Ann@Example.ORG\n"},
    {"NoDomain", "postmaster", "postmaster@\n"},
    {"NoLocalPart", "@b", "invalid\n"},
    {"EmptyAngles", "<>, a@b", "invalid\na@b\n"},
    {"EmptyQuotedLocalPart", "\"\"@b", "\"\"@b\n"},
    {"Route", "<@a.b,@c.d:joe@e.f>", "joe@e.f\n"},
    {"RouteWithoutMailbox", "<@a.b>", "invalid\n"},
    {"DotBeforeLocalPart", ".a@b, ..a@b, . @b", ".a@b\n..a@b\n.@b\n"},
    {"DotAlone", "., a@b", ".@\na@b\n"},
    {"DotBeforeLocalPartInAnglesDropped", "<.a@b>, A <.b.c.@d>", "a@b\nb.c.@d\n"},
    {"DotBeforeQuotedLocalPartInAnglesDropped", "<.\"a\"@b>", "\"a\"@b\n"},
    {"DotAloneInAngles", "<.@b>, <.>, <.@.>, <.", "invalid\ninvalid\ninvalid\ninvalid\n"},
    {"CommaAndDotBeforeLocalPartInAnglesDropped", "<,. a@b", "a@b\n"},
    {"DotAfterEmptyAngles", "<> ., b@c", "invalid\nb@c\n"},
    {"DotBeforeDomainKept", "<a@.b>, a@..b", "a@.b\na@..b\n"},
    {"DotInRoute", "<@.:a@b>", "a@b\n"},
    {"CommaInAngles", "<a@b, c@d>, e@f", "a@bcd\ne@f\n"},
    {"DomainLiteral", "joe@[1.2.3.4]", "joe@[1.2.3.4]\n"},
    {"LastDotKept", "a@b.c.", "a@b.c.\n"},
    {"GroupThenMailbox", "list: a@x, b@y;, c@z", "group\nc@z\n"},
    {"TextAfterAGroup", "list: a@x; b@y, c@z", "group\nc@z\n"},
    {"OpenGroup", "list: a@x, b@y", "group\n"},
    {"QuotedGroupName", "\"a, b\": c@d;", "group\n"},
    {"ColonInQuotesIsNoGroup", "\"a:b\" <c@d>", "c@d\n"},
    {"ColonInRouteIsNoGroup", "A <@b:c@d>, e@f", "c@d\ne@f\n"},
    {"OpenQuoteEndsTheList", "a@b, \"c <d@e>, f@g", "a@b\n"},
    {"OpenCommentEndsTheList", "a@b, c@d (e, f@g", "a@b\nc@d\n"},
    {"OpenAngle", "bad <, a@b", "a@b\n"},
    {"NulSeparates", "a@b\0c,d@e\0"sv, "a@bc\nd@e\n"},
    {"NulInQuotesKept", "\"a\0b\"@c"sv, "\"a\0b\"@c\n"sv},
    {"DleKept", "x \x10 y@z\x10.net, \x10", "x\x10y@z\x10.net\n\x10@\n"},
    {"DelKept", "<\x7Fx@y>, x\\\x7Fy@z", "\x7Fx@y\nx\x7Fy@z\n"},
    {"EightBitBytesKept", "j\xC3\xBC@\xC3\xBC.de", "j\xC3\xBC@\xC3\xBC.de\n"},
    {"LineEndsInQuotesAsBlanks", "\"a\r\nb\nc\rd\r\r\n\"@e", "\"a b c d  \"@e\n"},
    {"LineEndsInLiteralKept", "a@[1\r\n 2], b@[3\n 4], c@[5\r6]",
     "a@[1\r\n 2]\nb@[3\n 4]\nc@[5\r6]\n"},
    {"LineEndBetweenWordsDropped", "a\r\n .\r\n b@c", "a.b@c\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, AddressListText, testing::ValuesIn(kAddressLists));

class MailboxListText : public testing::TestWithParam<List> {};

TEST_P(MailboxListText, HasTheMailboxes) {
  DwMailboxList list(string_of(GetParam().text));
  EXPECT_EQ(entries_from(list.FirstMailbox()), GetParam().want);
}

constexpr List kMailboxLists[] = {
    {"Empty", "", ""},
    {"NameAndMailbox", "\"Ann\" <ann@Example.ORG>", "ann@Example.ORG\n"},
    {"TwoMailboxes", "a@b, C <c@d>", "a@b\nc@d\n"},
    {"FirstInvalid", "<>, a@b", "invalid\na@b\n"},
    // A colon makes no group of what lists mailboxes only.
    {"Colon", "g: c@d;", "gc@d\n"},
    {"ColonAndComma", "g1:;, g2:;, a@b", "g1@\ng2@\na@b\n"},
    {"Route", "<@a:b@c>", "b@c\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, MailboxListText, testing::ValuesIn(kMailboxLists));

TEST(AddressList, GivesTheSameSuccessorEveryTime) {
  DwAddressList list("a@b, c@d");
  const DwAddress* const first = list.FirstAddress();
  const DwAddress* const second = first->Next();
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(first->Next(), second);
  EXPECT_EQ(second->Next(), nullptr);
  EXPECT_EQ(second->Next(), nullptr);
}

TEST(AddressList, CanBeWalkedAgain) {
  DwAddressList list("a@b, c@d");
  EXPECT_EQ(entries_from(list.FirstAddress()), "a@b\nc@d\n");
  EXPECT_EQ(entries_from(list.FirstAddress()), "a@b\nc@d\n");
}

TEST(AddressList, KnowsTheTextOfEachEntry) {
  DwAddressList list("  Ann <a@b> (c) , list: d@e; ");
  DwAddress* const first = list.FirstAddress();
  EXPECT_EQ(bytes_of(first->AsString()), "Ann <a@b>");
  EXPECT_EQ(bytes_of(first->Next()->AsString()), "list: d@e;");
}

TEST(AddressList, KeepsItsOwnText) {
  auto text = std::make_unique<DwString>("a@b, c@d");
  DwAddressList list(*text);
  text->ConvertToLowerCase();
  text->append(", e@f");
  text.reset();
  EXPECT_EQ(bytes_of(list.AsString()), "a@b, c@d");
  EXPECT_EQ(entries_from(list.FirstAddress()), "a@b\nc@d\n");
}

TEST(AddressList, ReadsDeeplyNestedComments) {
  const std::string comment = std::string(200000, '(') + std::string(200000, ')');
  DwAddressList list(string_of("a@b " + comment + ", " + comment + " <c@d" + comment + ">"));
  EXPECT_EQ(entries_from(list.FirstAddress()), "a@b\nc@d\n");
}

}  // namespace
