#include "autoresponder/panel/mailbox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "../../named_row.h"

namespace {

constexpr const char* kStatements[] = {
    "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and "
    "d.name='shop.example' and m.mail_name='o\\'neil'",
    "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where "
    "m.id=ma.mn_id and m.dom_id=d.id and d.name='shop.example' and ma.alias='o\\'neil'",
    "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where "
    "m.dom_id=d.id and d.id=da.dom_id and da.name='shop.example' and m.mail_name='o\\'neil' and "
    "da.mail='true'",
    "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da "
    "where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='shop.example' and "
    "ma.alias='o\\'neil' and da.mail='true'",
};

std::optional<FoundMailbox> find() {
  PanelDatabase database = PanelDatabase(FakeDatabase::Open);
  IncomingMessage message;
  message.SetRecipient("o'neil@shop.example");
  return find_mailbox(database, message, escape_recipient(message));
}

struct Row : NamedRow {
  size_t number;  // of the statement that finds it
  MailboxLookup lookup;
};

class AMailbox : public testing::TestWithParam<Row> {};

TEST_P(AMailbox, IsFound) {
  FakeDatabase server;
  server.Answer(kStatements[GetParam().number], {{"5", "info", "other.example"}, {"6", "x", "y"}});
  const auto found = find();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->lookup, GetParam().lookup);
  EXPECT_EQ(found->mailbox.id, "5");
  EXPECT_EQ(found->mailbox.mail_name, "info");
  EXPECT_EQ(found->mailbox.domain_name, "other.example");
  EXPECT_EQ(server.statements.size(), GetParam().number + 1);
}

constexpr Row kRows[] = {
    {"ByItsName", 0, MailboxLookup::kMailName},
    {"ByAnAlias", 1, MailboxLookup::kAlias},
    {"ByAnAliasOfTheDomain", 2, MailboxLookup::kDomainAlias},
    {"ByBoth", 3, MailboxLookup::kAliasAndDomainAlias},
};

INSTANTIATE_TEST_SUITE_P(Lookups, AMailbox, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(AMailboxThatIsNotThere, IsLookedForInAllWays) {
  FakeDatabase server;
  EXPECT_FALSE(find());
  EXPECT_THAT(server.statements, testing::ElementsAreArray(kStatements));
}

TEST(AMailboxThatCannotBeAskedFor, EndsTheSearch) {
  FakeDatabase server;
  server.Fail("mail_aliases", 1146, "no such table");
  try {
    find();
    FAIL();
  } catch (const PanelFailure& failure) {
    EXPECT_STREQ(failure.what(), "autoresponder: Unable to query: no such table");
    EXPECT_EQ(failure.error(), 1146U);
  }
}

}  // namespace
