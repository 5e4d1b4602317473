// Uses all of the library in a program that has functions of the same names as the library's
// internal ones, and prints the results.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <kem/conf.h>
#include <kem/database.h>
#include <kem/ex_error.h>
#include <kem/get.h>
#include <kem/idn.h>
#include <kem/put.h>
#include <kem/report.h>
#include <kem/strings.h>
#include <kem/templates.h>
#include <string>

#include <mysql.h>

#include "names.h"

static void print(const char* what, const char* text) {
  printf("%s: %s\n", what, text != nullptr ? text : "null");
}

static void print_and_free(const char* what, char* text) {
  print(what, text);
  free(text);
}

static std::string letter() {
  NamedValue table[] = {{"name", "Grete"}, {"day", "Monday"}};
  sort_pairs(table, 2);
  char output[100];
  SubstResult result{};
  template_subst('<', '>', table, 2, "Dear <name>, until <day>", output, sizeof output - 1,
                 &result);
  return std::string(output, static_cast<size_t>(result.written));
}

static void use_settings(st_mysql* connection) {
  print("written", put_misc_param("colour", "it's blue", connection) == 0 ? "yes" : "no");
  print("setting", get_misc_param("colour", connection));
  print("table", get_table_value("1", "clients", "id", "login", nullptr));
  print("query", query_first_value("select 40 + 2", connection));
  print("client", get_client_email(get_dom_id("shop.example", connection, true), nullptr));
  print("bad query", query_first_value("nonsense", connection));
  print_and_free("escaped", sql_escape(connection, "it's"));
}

static void use_texts() {
  print_and_free("ascii", idn_toascii("müller.example"));
  print("url", idn_url_toascii("http://müller.example/"));
  print("word", get_word_after("size 10 kb", "size"));
  char text[20] = "one two one";
  print("replaced", strn_replace(text, text, "one", "three", sizeof text));
  print("letter", letter().c_str());
  try {
    throw quern::ExError("no such charset");
  } catch (const quern::ExError& error) {
    print("caught", error.what());
  }
}

int main(int, char* argv[]) {
  prog_name = argv[0];
  load_conf_paths();
  print("conf", QMAIL_ROOT_D);
  st_mysql* const connection = db_connect();
  if (connection == nullptr) return 1;
  use_settings(connection);
  mysql_close(connection);
  use_texts();
  printf("foreign calls by the library: %d\n", foreign_calls());
  call_all();
  printf("foreign calls by the program: %d\n", foreign_calls());
}
