#include <cerrno>
#include <optional>

#include <gtest/gtest.h>

#include "../fake_database.h"
#include "../named_row.h"
#include "support/get.h"
#include "support/put.h"
#include "support/report.h"

namespace {

// What a routine returns, as a text.
std::string text_of(const char* value) {
  return value != nullptr ? '"' + std::string(value) + '"' : "null";
}
std::string text_of(long value) {
  return std::to_string(value);
}

struct Returned {
  const char* found;
  const char* none;    // without a row
  const char* failed;  // where the statement fails
};

struct Routine : NamedRow {
  std::string (*call)(MYSQL* connection);
  std::string statement;
  std::optional<std::string> value;  // in the first row
  Returned returned;
  const char* report;  // of the failing statement
};

// A server that keeps the routine's statements, and the connection to it.
class PanelLookup : public testing::TestWithParam<Routine> {
 protected:
  // What the routine returns, without the reports, which are the same on both streams.
  std::string Call() {
    const char* const before = prog_name;
    prog_name = "/sbin/panel";
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    errno = 0;
    std::string result = GetParam().call(FakeDatabase::Open());
    report_ = testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), report_);
    prog_name = before;
    return result;
  }

  FakeDatabase server_;
  std::string report_;
};

TEST_P(PanelLookup, SendsItsStatementAndReturnsWhatItFinds) {
  server_.Answer("", {{GetParam().value}});
  EXPECT_EQ(Call(), GetParam().returned.found);
  EXPECT_EQ(server_.statements, std::vector<std::string>{GetParam().statement});
  EXPECT_EQ(report_, "");
}

TEST_P(PanelLookup, TakesANullForNoRow) {
  EXPECT_EQ(Call(), GetParam().returned.none);
  server_.Answer("", {{std::nullopt}});
  EXPECT_EQ(Call(), GetParam().returned.none);
}

class PanelText : public PanelLookup {};

TEST_P(PanelText, IsCutToItsBuffer) {
  server_.Answer("", {{std::string(9000, 'x')}});
  EXPECT_EQ(Call(), '"' + std::string(4095, 'x') + '"');
}

TEST_P(PanelLookup, ReportsThatItsStatementFails) {
  server_.Fail("", 1146, "no table");
  EXPECT_EQ(Call(), GetParam().returned.failed);
  EXPECT_EQ(report_, std::string("panel: ") + GetParam().report + "\n");
}

#define CALL(expression) [](MYSQL* connection) { return text_of(expression); }
#define NINE_TABS "\t\t\t\t\t\t\t\t\t"

const Routine kTexts[] = {
    Routine{{"TableValue"},
            CALL(get_table_value("1", "clients", "id", "login", connection)),
            "select login from clients where id='1'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query parameter by query select login from clients where id='1': no table"},
    Routine{{"MiscParam"},
            CALL(get_misc_param("n", connection)),
            "select val from misc where param='n'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query parameter by query select val from misc where param='n': no table"},
    Routine{{"DomainHtype"},
            CALL(get_domain_htype("1", connection)),
            "select htype from domains where id='1'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query parameter by query select htype from domains where id='1': no table"},
    Routine{{"IpAddress"},
            CALL(get_ip_address("1", connection)),
            "select ipa.ip_address from domains d, hosting h, IP_Addresses ipa where d.id='1' "
            "and d.id=h.dom_id and h.ip_address_id=ipa.id",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query IP address: no table"},
    Routine{{"DomParam"},
            CALL(get_dom_param("1", "n", connection)),
            "select val from dom_param where dom_id='1' and param='n'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query domain parameter n: no table"},
    Routine{{"DomainParam"},
            CALL(get_domain_param("1", "n", connection)),
            "select r.value from domains d, Parameters r \t\twhere d.id='1' and "
            "d.params_id=r.id and r.parameter='n'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query domain parameter n: no table"},
    Routine{{"ServiceParam"},
            CALL(get_service_param("1", "mail", "n", connection)),
            "select r.value from DomainServices s, Parameters r \t\t\t\t where s.dom_id='1' "
            "and s.type='mail' and s.parameters_id=r.id  and r.parameter='n'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query domain parameter n: no table"},
    Routine{{"DomainLimit"},
            CALL(get_domain_limit("1", "n", connection)),
            "select l.value from domains d, Limits l \t\t\t\t where d.id='1' and "
            "d.limits_id=l.id  and l.limit_name='n'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query domain limit n: no table"},
    Routine{{"DnsZoneId"},
            CALL(get_dns_zone_id("1", connection)),
            "select dns_zone_id from domains where id='1'",
            "found",
            {"\"found\"", "\"\"", "null"},
            "Unable to query dns_zone_id: no table"}};

INSTANTIATE_TEST_SUITE_P(Texts, PanelLookup, testing::ValuesIn(kTexts),
                         [](const auto& tested) { return tested.param.name; });
INSTANTIATE_TEST_SUITE_P(Texts, PanelText, testing::ValuesIn(kTexts),
                         [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Numbers, PanelLookup,
    testing::Values(Routine{{"AnonFtp"},
                            CALL(is_anon_ftp_on("1", connection)),
                            "select a.status from domains d, anon_ftp a " NINE_TABS
                            "where d.id='1' and a.dom_id=d.id",
                            "true",
                            {"1", "0", "0"},
                            "Unable to query anon_ftp: no table"},
                    Routine{{"Frontpage"},
                            CALL(is_frontpage_on("x", false, connection)),
                            "select h.fp from domains d, hosting h " NINE_TABS
                            "where d.name='x' and h.dom_id=d.id",
                            "trueish",
                            {"1", "0", "0"},
                            "Unable to query frontpage status: no table"},
                    Routine{{"FrontpageWithSsl"},
                            CALL(is_frontpage_on("x", true, connection)),
                            "select h.fp_ssl from domains d, hosting h " NINE_TABS
                            "where d.name='x' and h.dom_id=d.id",
                            "True",
                            {"0", "0", "0"},
                            "Unable to query frontpage status: no table"},
                    Routine{{"NextId"},
                            CALL(get_next_id("domains", connection)),
                            "SELECT max(id) FROM domains",
                            "41",
                            {"42", "1", "0"},
                            "Unable to define max id: no table"},
                    Routine{{"ClientId"},
                            CALL(get_client_id("1", connection)),
                            "select c.id from domains d, clients c " NINE_TABS
                            "where d.cl_id=c.id and d.id='1'",
                            "5",
                            {"5", "0", "0"},
                            "Unable to define client's ID: no table"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Writers, PanelLookup,
    testing::Values(
        Routine{{"SetsStatus"},
                CALL(set_domain_status("1", 4294967295, connection)),
                "update domains set status=4294967295 where id=\"1\"",
                {},
                {"0", "0", "-1"},
                "Unable to update status for domain with id=\"1\": no table."},
        Routine{{"PutsMiscParam"},
                CALL(put_misc_param("n", "it's \\", connection)),
                "replace into misc (param, val) values('n', 'it\\'s \\\\')",
                {},
                {"0", "0", "-1"},
                "Unable to put parameter n into misc: no table"},
        Routine{{"PutsNoMiscParam"},
                CALL(put_misc_param("n", nullptr, connection)),
                "replace into misc (param) values('n')",
                {},
                {"0", "0", "-1"},
                "Unable to put parameter n into misc: no table"},
        Routine{{"PutsDomParam"},
                CALL(put_dom_param("1", "n", "it's", connection)),
                "replace into dom_param (dom_id, param, val) values('1', 'n', 'it\\'s')",
                {},
                {"0", "0", "-1"},
                "Unable to put parameter n into dom_param: no table"},
        Routine{{"PutsParameter"},
                CALL(put_parameter("7", "n", "it's", connection)),
                "replace into Parameters (id, parameter, value) values('7', 'n', 'it\\'s')",
                {},
                {"0", "0", "-1"},
                "Unable to put parameter n into Parameters: no table"},
        Routine{{"DeletesMiscParam"},
                CALL(del_misc_param("n", connection)),
                "delete from misc where param='n'",
                {},
                {"0", "0", "-1"},
                "Unable to delete parameter n from misc: no table"},
        Routine{{"DeletesDomParam"},
                CALL(del_dom_param("1", "n", connection)),
                "delete from dom_param where dom_id='1' and param='n'",
                {},
                {"0", "0", "-1"},
                "Unable to delete parameter n from dom_param: no table"},
        Routine{{"DeletesParameter"},
                CALL(del_parameter("7", "n", nullptr, connection)),
                "delete from Parameters where id='7' and parameter='n'",
                {},
                {"0", "0", "-1"},
                "Unable to delete parameter n from Parameters: no table"},
        Routine{{"DeletesParameterOfAValue"},
                CALL(del_parameter("7", "n", "it's", connection)),
                "delete from Parameters where id='7' and parameter='n' and value='it\\'s'",
                {},
                {"0", "0", "-1"},
                "Unable to delete parameter n from Parameters: no table"}),
    [](const auto& tested) { return tested.param.name; });

#undef CALL
#undef NINE_TABS

}  // namespace
