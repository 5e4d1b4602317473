#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "../../named_row.h"
#include "autoresponder/panel/mailbox.h"

namespace {

struct Row : NamedRow {
  const char* address;
  bool is_one;
};

class NamesOfAMailbox : public testing::TestWithParam<Row> {};

TEST_P(NamesOfAMailbox, Include) {
  FakeDatabase server;
  server.Answer("select alias from mail_aliases where mn_id=5", {{"Sales"}, {std::nullopt}});
  server.Answer("where da.dom_id=m.dom_id and m.id=5 and da.mail='true'",
                {{"laden.example"}, {"xn--bcher-kva.example"}});
  PanelDatabase database = PanelDatabase(FakeDatabase::Open);
  const MailboxNames names(database, {"5", "Info", "Shop.Example"}, "help@old.example");
  EXPECT_EQ(names.Include(GetParam().address), GetParam().is_one);
}

constexpr Row kRows[] = {
    {"ItsName", "info@shop.example", true},
    {"ItsNameInAnyCase", "INFO@SHOP.example", true},
    {"ItsAlias", "sales@shop.example", true},
    {"ItsNameAtAnAliasOfTheDomain", "info@laden.example", true},
    {"ItsAliasAtAnAliasOfTheDomain", "sales@laden.example", true},
    {"ItsNameBeforeADotAtTheEnd", "info@shop.example.", true},
    {"TheAsciiFormOfADomain", "info@xn--bcher-kva.example", true},
    {"TheUtf8FormOfADomain",
     "info@b\xC3\xBC"
     "cher.example",
     true},
    {"TheAddressOfTheDelivery", "help@old.example", true},
    {"NotItsNameAtTheDomainOfTheDelivery", "info@old.example", false},
    {"NotTheNameOfTheDeliveryAtItsDomain", "help@shop.example", false},
    {"NotAnotherName", "otto@shop.example", false},
    {"NotAnotherDomain", "info@other.example", false},
    {"NotAnotherNameAtAnAlias", "otto@laden.example", false},
    {"NotANameAlone", "info", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, NamesOfAMailbox, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
