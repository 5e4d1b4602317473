#include "support/get.h"

#include <optional>

#include <gtest/gtest.h>

#include "../fake_database.h"
#include "../named_row.h"
#include "reported.h"
#include "support/put.h"

namespace {

struct Status : NamedRow {
  std::vector<FakeRow> rows;
  int answer;
  const char* report;
};

class DomainStatus : public testing::TestWithParam<Status> {};

TEST_P(DomainStatus, IsANumber) {
  FakeDatabase server;
  server.Answer("select status from domains where id=\"1\"", GetParam().rows);
  unsigned status = 0;
  EXPECT_EQ(reported_by([&](MYSQL* connection) {
              EXPECT_EQ(get_domain_status("1", &status, connection), GetParam().answer);
            }),
            GetParam().report);
  EXPECT_EQ(status, GetParam().answer == 0 ? 16 : 0);
}

#define UNABLE "Unable to get status for domain with id=\"1\": "
INSTANTIATE_TEST_SUITE_P(
    Rows, DomainStatus,
    testing::Values(Status{{"Number"}, {{"16"}}, 0, ""},
                    Status{{"NumberAndMore"}, {{"16 apples"}}, 0, ""},
                    Status{{"None"}, {}, -2, UNABLE "such domain is not exist.\n"},
                    Status{{"Null"}, {{std::nullopt}}, -2, UNABLE "such domain is not exist.\n"},
                    Status{{"Empty"},
                           {{""}},
                           -3,
                           UNABLE "error translate status value from char to unsigned int.\n"},
                    Status{{"Word"},
                           {{"abc"}},
                           -3,
                           UNABLE "error translate status value from char to unsigned int.\n"}),
    [](const auto& tested) { return tested.param.name; });
#undef UNABLE

constexpr char kZone[] = "from domains d, dns_zone z, dns_recs r";
constexpr char kSubdomain[] = "from subdomains";

TEST(AWwwAlias, IsInTheZoneAndNoSubdomain) {
  FakeDatabase server;
  EXPECT_EQ(has_www_alias("1", FakeDatabase::Open()), 0);
  EXPECT_EQ(server.statements.size(), 1U);
  server.Answer(kZone, {{"www.shop.example."}});
  EXPECT_EQ(has_www_alias("1", FakeDatabase::Open()), 1);
  server.Answer(kSubdomain, {{"www"}});
  EXPECT_EQ(has_www_alias("1", FakeDatabase::Open()), 0);
}

TEST(AWwwAlias, IsNotKnownWhereAStatementFails) {
  FakeDatabase server;
  server.Answer(kZone, {{"www.shop.example."}});
  const auto ask = [](MYSQL* connection) { EXPECT_EQ(has_www_alias("1", connection), -1); };
  server.Fail(kSubdomain, 1146, "no table");
  EXPECT_EQ(reported_by(ask), "Unable to query www subdomain: no table\n");
  server.Fail(kZone, 1146, "no table");
  EXPECT_EQ(reported_by(ask), "Unable to query www prefix: no table\n");
}

TEST(AClientsAddress, IsTheAdministratorsWhereTheClientHasNone) {
  FakeDatabase server;
  const auto ask = [](MYSQL* connection) { EXPECT_EQ(get_client_email("1", connection), nullptr); };
  EXPECT_EQ(reported_by(ask), "Unable to define admin email\n");
  server.Answer("select val from misc where param='admin_email'", {{"admin@panel.example"}});
  EXPECT_STREQ(get_client_email("1", FakeDatabase::Open()), "admin@panel.example");
  server.Answer("select c.email", {{""}});
  EXPECT_STREQ(get_client_email("1", FakeDatabase::Open()), "admin@panel.example");
  server.Answer("select c.email", {{"grete@customer.example"}});
  EXPECT_STREQ(get_client_email("1", FakeDatabase::Open()), "grete@customer.example");
  server.Fail("select c.email", 1146, "no table");
  EXPECT_EQ(reported_by(ask), "Unable to define clients email: no table\n");
}

TEST(ADomainsId, IsThatOfItsAsciiForm) {
  FakeDatabase server;
  server.Answer("select id from domains where name='xn--mller-kva.example'", {{"5"}});
  EXPECT_STREQ(get_dom_id("m\xC3\xBCller.example", FakeDatabase::Open(), false), "5");
  EXPECT_EQ(get_dom_id("shop.example", FakeDatabase::Open(), true), nullptr);
}

TEST(ADomainsIdDeathTest, IsRequiredUnlessQuiet) {
  FakeDatabase server;
  EXPECT_EXIT(get_dom_id_strict("shop.example", FakeDatabase::Open()), testing::ExitedWithCode(1),
              "get_dom_id\\(\\): domains record not found in DB for 'shop.example'");
  server.Fail("", 1146, "no table");
  EXPECT_EXIT(get_dom_id("shop.example", FakeDatabase::Open(), true), testing::ExitedWithCode(1),
              "Unable to query domain ID: no table");
}

TEST(AValueToWrite, IsNeeded) {
  FakeDatabase server;
  EXPECT_EQ(reported_by([](MYSQL* connection) {
              EXPECT_EQ(put_dom_param("1", "n", nullptr, connection), -1);
              EXPECT_EQ(put_parameter("1", "n", nullptr, connection), -1);
            }),
            "Unable to put parameter n into dom_param: there is no value\n"
            "Unable to put parameter n into Parameters: there is no value\n");
  EXPECT_TRUE(server.statements.empty());
}

TEST(AKey, MayHoldAnyOtherCharacter) {
  FakeDatabase server;
  for (int c = 1; c < 256; ++c) {
    const std::string key(1, static_cast<char>(c));
    if (key.find_first_of("'\"\\") != key.npos) continue;
    get_misc_param(key.c_str(), FakeDatabase::Open());
    EXPECT_EQ(server.statements.back(), "select val from misc where param='" + key + "'");
  }
}

TEST(AKeyDeathTest, DoesNotLeaveItsQuotes) {
  FakeDatabase server;
  for (const char* key : {"a'b", "a\"b", "a\\b"}) {
    EXPECT_DEATH(get_dom_id(key, FakeDatabase::Open(), true), "get:[0-9]+: .*param_val == NULL");
    EXPECT_DEATH(get_dom_param("1", key, FakeDatabase::Open()), "get:[0-9]+: .*param_val == NULL");
    EXPECT_DEATH(del_parameter("1", key, "x", FakeDatabase::Open()), "put:[0-9]+: .*param_val");
  }
  const std::string without_ascii_form = "'" + std::string(64, 'x');
  EXPECT_DEATH(get_dom_id(without_ascii_form.c_str(), FakeDatabase::Open(), true),
               "param_val == NULL");
  EXPECT_DEATH(get_dom_id("a\xEF\xBC\x87"
                          "b",
                          FakeDatabase::Open(), true),
               "param_val == NULL");
}

}  // namespace
