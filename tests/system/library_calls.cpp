// Calls one routine of the panel's library and prints what it returned, for tests with a real
// database:
//
//   library_calls own|given ROUTINE [ARGUMENT...]
//
// `own` passes no connection, `given` one that is opened before. "NULL" means a null argument.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "support/conf.h"
#include "support/database.h"
#include "support/get.h"
#include "support/mysql_owned.h"
#include "support/put.h"
#include "support/report.h"

namespace {

struct Call {
  char** arguments;
  st_mysql* connection;

  const char* operator[](int i) const {
    return strcmp(arguments[i], "NULL") == 0 ? nullptr : arguments[i];
  }
};

void print(const char* text) {
  if (text == nullptr) {
    puts("=null");
  } else {
    printf("=\"%s\"\n", text);
  }
}

void print(long number) {
  printf("=%ld\n", number);
}

using Routine = std::function<void(const Call&)>;

template <class Function>
Routine one_key(Function function) {
  return [function](const Call& c) { print(function(c[0], c.connection)); };
}

template <class Function>
Routine two_keys(Function function) {
  return [function](const Call& c) { print(function(c[0], c[1], c.connection)); };
}

template <class Function>
Routine three_keys(Function function) {
  return [function](const Call& c) { print(function(c[0], c[1], c[2], c.connection)); };
}

void print_domain_status(const Call& c) {
  unsigned status = 4711;
  const int result = get_domain_status(c[0], &status, c.connection);
  print(result);
  if (result == 0) print(static_cast<long>(status));
}

// Calls every routine that returns a text, and then prints all results.
void print_kept_results(const Call& c) {
  st_mysql* const connection = c.connection;
  for (const char* result :
       {query_value("select 'query'", connection, 0),
        get_table_value("1", "clients", "id", "login", connection), get_misc_param("n", connection),
        get_domain_htype("1", connection), get_ip_address("1", connection),
        get_dom_param("1", "colour", connection), get_domain_param("1", "size", connection),
        get_service_param("1", "mail", "port", connection),
        get_domain_limit("1", "max_box", connection), get_client_email("1", connection),
        get_dom_id("shop.example", connection, true), get_domain_name("shop.example"),
        get_dns_zone_id("1", connection)}) {
    print(result);
  }
}

const std::map<std::string, Routine> kRoutines = {
    {"results_kept", print_kept_results},
    {"query_value",
     [](const Call& c) {
       print(query_value(c[0], c.connection, static_cast<unsigned>(strtoul(c[1], nullptr, 10))));
     }},
    {"query_first_value", one_key(query_first_value)},
    {"get_table_value",
     [](const Call& c) { print(get_table_value(c[0], c[1], c[2], c[3], c.connection)); }},
    {"get_misc_param", one_key(get_misc_param)},
    {"get_domain_htype", one_key(get_domain_htype)},
    {"get_ip_address", one_key(get_ip_address)},
    {"get_domain_status", print_domain_status},
    {"set_domain_status",
     [](const Call& c) {
       print(set_domain_status(c[0], static_cast<unsigned>(strtoul(c[1], nullptr, 10)),
                               c.connection));
     }},
    {"get_dom_param", two_keys(get_dom_param)},
    {"get_domain_param", two_keys(get_domain_param)},
    {"get_service_param", three_keys(get_service_param)},
    {"get_domain_limit", two_keys(get_domain_limit)},
    {"has_www_alias", one_key(has_www_alias)},
    {"is_anon_ftp_on", one_key(is_anon_ftp_on)},
    {"is_frontpage_on",
     [](const Call& c) { print(is_frontpage_on(c[0], strcmp(c[1], "ssl") == 0, c.connection)); }},
    {"get_client_email", one_key(get_client_email)},
    {"get_client_id", one_key(get_client_id)},
    {"get_dom_id",
     [](const Call& c) { print(get_dom_id(c[0], c.connection, strcmp(c[1], "quiet") == 0)); }},
    {"get_dom_id_strict", one_key(get_dom_id_strict)},
    {"get_domain_name", [](const Call& c) { print(get_domain_name(c[0])); }},
    {"get_next_id", one_key(get_next_id)},
    {"get_dns_zone_id", one_key(get_dns_zone_id)},
    {"put_misc_param", two_keys(put_misc_param)},
    {"put_dom_param", three_keys(put_dom_param)},
    {"put_parameter", three_keys(put_parameter)},
    {"del_misc_param", one_key(del_misc_param)},
    {"del_dom_param", two_keys(del_dom_param)},
    {"del_parameter", three_keys(del_parameter)},
    {"get_run_mode", [](const Call&) { print(get_run_mode()); }},
    {"db_get_utf8_mode", [](const Call&) { print(db_get_utf8_mode()); }},
    {"db_probe_utf8_mode", [](const Call&) { print(db_probe_utf8_mode()); }},
    {"db_error_text",
     [](const Call& c) {
       char error[256] = "";
       db_error_text(c.connection, error, strtoul(c[0], nullptr, 10), c[1]);
       print(error);
     }},
    {"read_admin_password_file", [](const Call&) { print(read_admin_password_file()); }},
    {"conf_require", [](const Call& c) { print(conf_require(c[0])); }},
    {"certificates_dir",
     [](const Call&) {
       load_conf_paths();
       print(certificates_dir);
     }},
};

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 3) return 2;
  prog_name = argv[0];
  OwnedConnection connection(strcmp(argv[1], "given") == 0 ? db_connect() : nullptr);
  kRoutines.at(argv[2])(Call{argv + 3, connection.get()});
}
