#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/intake/message_parts.h"

using namespace std::string_view_literals;

namespace {

std::string address_or_none(const DwMailbox* mailbox) {
  return mailbox != nullptr ? mailbox_address(*mailbox) : "none";
}

struct List : NamedRow {
  std::string_view text;
  std::string_view want;
};

class FirstListedMailbox : public testing::TestWithParam<List> {};

TEST_P(FirstListedMailbox, Is) {
  DwAddressList list(DwString(GetParam().text.data(), GetParam().text.size()));
  EXPECT_EQ(address_or_none(first_listed_mailbox(list)), GetParam().want);
}

constexpr List kAddressLists[] = {
    {"NoneOfNothing", "", "none"},
    {"NoneOfAComment", "(nobody)", "none"},
    {"TheOnlyOne", "Team <team@example.org>", "team@example.org"},
    {"TheFirst", "a@b, c@d", "a@b"},
    {"CaseKept", "\"Ann\" <ann@Example.ORG>", "ann@Example.ORG"},
    {"QuotesKept", "\"john doe\"@example.com", "\"john doe\"@example.com"},
    {"RouteDropped", "<@a,@b:c@d>", "c@d"},
    {"CommentsDropped", "ann (A) @ (B) example.org", "ann@example.org"},
    {"AfterAGroup", "list: a@x, b@y;, c@z", "c@z"},
    {"AfterGroups", "g1:;, g2: a@x;, b@y", "b@y"},
    {"NoneOfAGroup", "undisclosed-recipients:;", "none"},
    {"NoneOfAnOpenGroup", "list: a@x, b@y", "none"},
    {"AfterAnInvalidOne", "<>, @b, c@d", "c@d"},
    {"NoneOfInvalidOnes", "<>, @b", "none"},
    {"WithoutDomain", "postmaster", "postmaster@"},
    {"MailerDaemon", "MAILER-DAEMON", "MAILER-DAEMON@"},
    {"NotConverted", "j@xn--mller-kva.de", "j@xn--mller-kva.de"},
    {"UpToANulInTheLocalPart", "\"a\0b\"@c"sv, "\"a"},
    {"UpToANulInTheDomain", "a@[1\0002]"sv, "a@[1"},
};

INSTANTIATE_TEST_SUITE_P(Rows, FirstListedMailbox, testing::ValuesIn(kAddressLists));

class FirstValidMailbox : public testing::TestWithParam<List> {};

TEST_P(FirstValidMailbox, Is) {
  DwMailboxList list(DwString(GetParam().text.data(), GetParam().text.size()));
  EXPECT_EQ(address_or_none(first_valid_mailbox(list)), GetParam().want);
}

constexpr List kMailboxLists[] = {
    {"NoneOfNothing", "", "none"},
    {"TheOnlyOne", "\"Ann\" <ann@Example.ORG>", "ann@Example.ORG"},
    {"TheFirst", "a@b, c@d", "a@b"},
    {"AfterAnInvalidOne", "<>, @b, c@d", "c@d"},
    {"NoneOfInvalidOnes", "<>, @b,", "none"},
    {"TextOfAGroup", "list: a@x;", "lista@x"},
};

INSTANTIATE_TEST_SUITE_P(Rows, FirstValidMailbox, testing::ValuesIn(kMailboxLists));

TEST(FirstMailbox, IsFoundAfterManyOthers) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "g:;,<>,";
  text += "a@b";
  DwAddressList addresses(DwString(text.data(), text.size()));
  EXPECT_EQ(address_or_none(first_listed_mailbox(addresses)), "a@b");
  text = std::string(200000, ',') + "<>,a@b";
  DwMailboxList mailboxes(DwString(text.data(), text.size()));
  EXPECT_EQ(address_or_none(first_valid_mailbox(mailboxes)), "a@b");
}

}  // namespace
