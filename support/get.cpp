#include "support/get.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/base/owned.h"
#include "support/idn.h"
#include "support/lookup.h"
#include "support/report.h"

using namespace kem;

namespace {

// Aborts the process on a key that would end its quotes in the statement.
#define CHECK_KEYS(...) assert_plain_params({__VA_ARGS__}, "get", __LINE__, __func__)

// Kept: only the first four letters count.
bool begins_with_true(const char* value) {
  return value != nullptr && strncmp(value, "true", strlen("true")) == 0;
}

// 1 if the query has a row, 0 if it has none, -1 after a complaint.
int has_rows(MYSQL* connection, const Statement& statement, const Complaint& complaint) {
  if (!send_statement(connection, statement.text(), complaint)) return -1;
  const OwnedResult rows(mysql_store_result(connection));
  return next_row(rows) != nullptr ? 1 : 0;
}

// Reads a column of the first row whose `key_column` is `key` into `result` of kResultSize bytes.
const char* read_table_value(char* result, const char* key, const char* table,
                             const char* key_column, const char* value_column, MYSQL* connection) {
  const Statement statement("select %s from %s where %s='%s'", value_column, table, key_column,
                            key);
  return read_value(result, statement, connection, kConnectTextB,
                    Complaint{"Unable to query parameter by query %s: %s\n", statement.text()});
}

const char* read_misc_param(char* result, const char* name, MYSQL* connection) {
  return read_table_value(result, name, "misc", "param", "val", connection);
}

}  // namespace

const char* get_table_value(const char* value, const char* table, const char* key_column,
                            const char* value_column, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(value);
  return read_table_value(result, value, table, key_column, value_column, connection);
}

const char* get_misc_param(const char* name, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(name);
  return read_misc_param(result, name, connection);
}

const char* get_domain_htype(const char* domain_id, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id);
  return read_table_value(result, domain_id, "domains", "id", "htype", connection);
}

const char* get_ip_address(const char* domain_id, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id);
  const Statement statement(
      "select ipa.ip_address from domains d, hosting h, IP_Addresses ipa where d.id='%s' and "
      "d.id=h.dom_id and h.ip_address_id=ipa.id",
      domain_id);
  return read_value(result, statement, connection, kConnectTextC,
                    {"Unable to query IP address: %s\n"});
}

int get_domain_status(const char* domain_id, unsigned* status, st_mysql* connection) {
  CHECK_KEYS(domain_id);
  const Statement statement("select status from domains where id=\"%s\"", domain_id);
  const Complaint complaint{"Unable to get status for domain with id=\"%s\": %s", domain_id};
  if (!send_statement(connection, statement.text(), complaint)) return -1;
  OwnedResult rows;
  const char* const value = first_value(connection, rows);
  if (value == nullptr) {
    complain(complaint, "such domain is not exist.");
    return -2;
  }
  if (sscanf(value, "%u", status) != 1) {
    complain(complaint, "error translate status value from char to unsigned int.");
    return -3;
  }
  return 0;
}

const char* get_dom_param(const char* domain_id, const char* name, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id, name);
  const Statement statement("select val from dom_param where dom_id='%s' and param='%s'", domain_id,
                            name);
  return read_value(result, statement, connection, kConnectTextA,
                    {"Unable to query domain parameter %s: %s\n", name});
}

const char* get_domain_param(const char* domain_id, const char* name, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id, name);
  const Statement statement(
      "select r.value from domains d, Parameters r \t\twhere d.id='%s' and d.params_id=r.id "
      "and r.parameter='%s'",
      domain_id, name);
  return read_value(result, statement, connection, kConnectTextB,
                    {"Unable to query domain parameter %s: %s\n", name});
}

const char* get_service_param(const char* domain_id, const char* service, const char* name,
                              st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id, service, name);
  const Statement statement(
      "select r.value from DomainServices s, Parameters r \t\t\t\t where s.dom_id='%s' and "
      "s.type='%s' and s.parameters_id=r.id  and r.parameter='%s'",
      domain_id, service, name);
  return read_value(result, statement, connection, kConnectTextB,
                    {"Unable to query domain parameter %s: %s\n", name});
}

const char* get_domain_limit(const char* domain_id, const char* name, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id, name);
  const Statement statement(
      "select l.value from domains d, Limits l \t\t\t\t where d.id='%s' and "
      "d.limits_id=l.id  and l.limit_name='%s'",
      domain_id, name);
  return read_value(result, statement, connection, kConnectTextB,
                    {"Unable to query domain limit %s: %s\n", name});
}

int has_www_alias(const char* domain_id, st_mysql* connection) {
  CHECK_KEYS(domain_id);
  const LookupSession session(connection, kConnectTextB);
  if (!session) return -1;
  const Statement statement(
      "select * from domains d, dns_zone z, dns_recs r \t\twhere d.id='%s' and "
      "d.dns_zone_id=z.id and r.dns_zone_id=z.id \t\tand ((r.type='A') or (r.type='CNAME')) "
      "\t\tand left(r.host,4)='www.'",
      domain_id);
  const int in_zone = has_rows(session.handle(), statement, {"Unable to query www prefix: %s\n"});
  if (in_zone != 1) return in_zone;
  const Statement www("select * from subdomains \t\t\twhere dom_id='%s' and name='www'", domain_id);
  const int is_subdomain = has_rows(session.handle(), www, {"Unable to query www subdomain: %s\n"});
  return is_subdomain < 0 ? -1 : 1 - is_subdomain;
}

bool is_anon_ftp_on(const char* domain_id, st_mysql* connection) {
  char result[kResultSize];
  CHECK_KEYS(domain_id);
  const Statement statement(
      "select a.status from domains d, anon_ftp a \t\t\t\t\t\t\t\t\twhere d.id='%s' and "
      "a.dom_id=d.id",
      domain_id);
  return begins_with_true(
      read_value(result, statement, connection, kConnectTextB, {"Unable to query anon_ftp: %s\n"}));
}

bool is_frontpage_on(const char* domain_name, bool ssl, st_mysql* connection) {
  char result[kResultSize];
  CHECK_KEYS(domain_name);
  const Statement statement(
      "select h.%s from domains d, hosting h \t\t\t\t\t\t\t\t\twhere d.name='%s' and "
      "h.dom_id=d.id",
      ssl ? "fp_ssl" : "fp", domain_name);
  return begins_with_true(read_value(result, statement, connection, kConnectTextB,
                                     {"Unable to query frontpage status: %s\n"}));
}

const char* get_client_email(const char* domain_id, st_mysql* connection) {
  constexpr size_t kBound = 4096;
  static char result[kBound + 1];  // with the NUL
  CHECK_KEYS(domain_id);
  const LookupSession session(connection, kConnectTextB);
  if (!session) return nullptr;
  const Statement statement(
      "select c.email from domains d, clients c \t\t\t\t\t\t\t\t\twhere d.cl_id=c.id and "
      "d.id='%s'",
      domain_id);
  const Complaint complaint{"Unable to define clients email: %s\n"};
  if (!send_statement(session.handle(), statement.text(), complaint)) return nullptr;
  OwnedResult rows;
  const char* const email = first_value(session.handle(), rows);
  snprintf(result, sizeof result, "%s", email != nullptr ? email : "");
  if (*result != '\0') return result;
  const char* const admin = read_misc_param(result, "admin_email", session.handle());
  if (admin != nullptr && *admin != '\0') return admin;
  report_error(0, 0, "Unable to define admin email\n");
  return nullptr;
}

int get_client_id(const char* domain_id, st_mysql* connection) {
  CHECK_KEYS(domain_id);
  const Statement statement(
      "select c.id from domains d, clients c \t\t\t\t\t\t\t\t\twhere d.cl_id=c.id and "
      "d.id='%s'",
      domain_id);
  if (!send_statement(connection, statement.text(), {"Unable to define client's ID: %s\n"}))
    return 0;
  OwnedResult rows;
  const char* const value = first_value(connection, rows);
  int id = 0;
  if (value == nullptr || sscanf(value, "%d", &id) != 1) return 0;
  return id;
}

const char* get_dom_id(const char* domain_name, st_mysql* connection, bool quiet) {
  static char result[kResultSize];
  CHECK_KEYS(domain_name);
  const OwnedText ascii(idn_toascii(key_text(domain_name)));
  if (!ascii) report_error(1, 0, "idn_toascii() failed: %s", idn_strerror(idn_last_error));
  CHECK_KEYS(ascii.get());  // libidn turns a full-width quote into a plain one
  const LookupSession session(connection, kConnectTextB);
  if (!session) return nullptr;
  const Statement statement("select id from domains where name='%s'", ascii.get());
  const Complaint complaint{"Unable to query domain ID: %s\n", {}, 1};
  if (!send_statement(session.handle(), statement.text(), complaint)) return nullptr;
  OwnedResult rows;
  const char* const id = first_value(session.handle(), rows);
  if (id == nullptr) {
    if (!quiet) {
      report_error(1, 0, "get_dom_id(): domains record not found in DB for '%s'\n",
                   key_text(domain_name));
    }
    return nullptr;
  }
  snprintf(result, sizeof result, "%s", id);
  return result;
}

const char* get_dom_id_strict(const char* domain_name, st_mysql* connection) {
  return get_dom_id(domain_name, connection, false);
}

const char* get_domain_name(const char* domain_name) {
  static char result[kResultSize];
  CHECK_KEYS(domain_name);
  const LookupSession session(nullptr, kConnectTextB, 1);
  const Statement statement("select name from domains where name='%s'", domain_name);
  const Complaint complaint{"Unable to query domain name: %s\n", {}, 1};
  if (!send_statement(session.handle(), statement.text(), complaint)) return nullptr;
  OwnedResult rows;
  const char* const name = first_value(session.handle(), rows);
  if (name == nullptr) return nullptr;
  snprintf(result, sizeof result, "%s", name);
  for (char& c : result) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return result;
}

long get_next_id(const char* table, st_mysql* connection) {
  char result[kResultSize];
  CHECK_KEYS(table);
  const Statement statement("SELECT max(id) FROM %s", table);
  const char* const largest =
      read_value(result, statement, connection, kConnectTextB, {"Unable to define max id: %s"});
  if (largest == nullptr) return 0;
  const long id = strtol(largest, nullptr, 10);
  if (id == LONG_MAX) {
    report_error(0, 0, "Unable to define max id: there is no number after %s", largest);
    return 0;
  }
  return id + 1;
}

const char* get_dns_zone_id(const char* domain_id, st_mysql* connection) {
  static char result[kResultSize];
  CHECK_KEYS(domain_id);
  const Statement statement("select dns_zone_id from domains where id='%s'", domain_id);
  return read_value(result, statement, connection, kConnectTextC,
                    {"Unable to query dns_zone_id: %s\n"});
}

int get_run_mode() {
  const char* const value = getenv("KEM_RUN_MODE");
  if (value == nullptr) return 0;
  const long mode = strtol(value, nullptr, 10);
  if (mode < 1 || mode > 3) report_error(1, 0, "unrecognized KEM_RUNMODE");
  return static_cast<int>(mode);
}
