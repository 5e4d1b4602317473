#include "support/database.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>

#include "support/base/owned.h"
#include "support/mysql_owned.h"
#include "support/report.h"

int db_utf8_mode = -1;

namespace {

constexpr size_t kPasswordSize = 100;
constexpr size_t kErrorSize = 4097;
constexpr size_t kValueSize = 4096;

bool starts_with(const char* text, const char* start) {
  return strncmp(text, start, strlen(start)) == 0;
}

enum class Version { kUnknown, kWithoutCharsets, kWithCharsets };

Version server_version(MYSQL* connection, char* error, size_t error_size) {
  const char* failure = nullptr;
  Version version = Version::kUnknown;
  if (mysql_query(connection, "SHOW VARIABLES LIKE 'version'") != 0) {
    failure = "query version";
  } else if (const OwnedResult result{mysql_store_result(connection)}; !result) {
    failure = "store query result";
  } else if (const MYSQL_ROW row = mysql_fetch_row(result.get()); row == nullptr) {
    failure = "fetch version row";
  } else if (row[1] == nullptr) {
    failure = "empty version result";
  } else {
    const bool old = starts_with(row[1], "3.") || starts_with(row[1], "4.0.");
    version = old ? Version::kWithoutCharsets : Version::kWithCharsets;
  }
  if (failure != nullptr) db_error_text(connection, error, error_size, failure);
  return version;
}

// Kept: only "false" in lower case switches the setting off.
bool is_set(const char* value) {
  return value != nullptr && *value != '\0' && strcmp(value, "false") != 0;
}

int fail(MYSQL* connection, char* error, size_t error_size, const char* context) {
  db_error_text(connection, error, error_size, context);
  return -1;
}

// A server that stops answering, or a table that stays locked, must not hold a run for ever: the
// mail server allows few deliveries at a time, and such runs would take them all.
void limit_silence(MYSQL* connection) {
  constexpr unsigned kSeconds = 120;
  for (const mysql_option option :
       {MYSQL_OPT_CONNECT_TIMEOUT, MYSQL_OPT_READ_TIMEOUT, MYSQL_OPT_WRITE_TIMEOUT}) {
    mysql_options(connection, option, &kSeconds);
  }
}

// The first line of the password file; false if there is no file or no line.
bool read_first_line(FILE* file, char* line, size_t size) {
  if (file == nullptr || fgets(line, static_cast<int>(size), file) == nullptr) return false;
  const size_t length = strlen(line);
  if (length > 0 && line[length - 1] == '\n') line[length - 1] = '\0';
  return true;
}

}  // namespace

int db_get_utf8_mode() {
  return db_utf8_mode;
}

int db_probe_utf8_mode() {
  if (db_utf8_mode == -1) OwnedConnection(db_connect()).reset();
  return db_utf8_mode;
}

int read_admin_password(char* password, size_t password_size, char* error, size_t error_size) {
  const OwnedFile file(fopen(kAdminPasswordFile, "rt"));
  if (!file) {
    snprintf(error, error_size, "Unable to open admin password file: %s", strerror(errno));
    return -1;
  }
  if (!read_first_line(file.get(), password, password_size)) {
    snprintf(error, error_size, "Unable to read admin password file: %s", strerror(errno));
    return -1;
  }
  return 0;
}

const char* read_admin_password_file() {
  static char password[kPasswordSize];
  const OwnedFile file(fopen(kAdminPasswordFile, "rt"));
  if (!file) report_error(1, 0, "Unable to open admin password file");
  if (!read_first_line(file.get(), password, sizeof password)) {
    report_error(1, 0, "Unable to read admin password file");
  }
  return password;
}

st_mysql* db_real_connect(char* error, size_t error_size) {
  char password[kPasswordSize];
  if (read_admin_password(password, sizeof password, error, error_size) != 0) return nullptr;
  OwnedConnection connection(mysql_init(nullptr));
  if (!connection) {
    snprintf(error, error_size, "Unable to initialize MySQL connection structure: %s",
             strerror(ENOMEM));
    errno = ENOMEM;
    return nullptr;
  }
  limit_silence(connection.get());
  if (mysql_real_connect(connection.get(), "localhost", "admin", password, "kem", 0, nullptr, 0) ==
      nullptr) {
    snprintf(error, error_size, "Unable to connect to Quern Database: %s",
             mysql_error(connection.get()));
    return nullptr;
  }
  // Commands that the process starts must not inherit the administrator's connection.
  fcntl(static_cast<int>(mysql_get_socket(connection.get())), F_SETFD, FD_CLOEXEC);
  return connection.release();
}

int db_set_charset(st_mysql* connection, char* error, size_t error_size) {
  const Version version = server_version(connection, error, error_size);
  if (version == Version::kUnknown) return -1;
  if (version == Version::kWithoutCharsets) {
    db_utf8_mode = 0;
    return 0;
  }
  if (mysql_query(connection, "SELECT val FROM misc WHERE param='mysql41_compatible'") != 0) {
    return fail(connection, error, error_size, "mysql41 compatible query");
  }
  {
    const OwnedResult result(mysql_store_result(connection));
    const MYSQL_ROW row = next_row(result);
    db_utf8_mode = row != nullptr && is_set(row[0]) ? 1 : 0;
  }
  const char* const statement = db_utf8_mode == 1 ? "SET NAMES utf8" : "SET NAMES binary";
  if (mysql_query(connection, statement) != 0) {
    return fail(connection, error, error_size, "set names query");
  }
  return 0;
}

void db_error_text(st_mysql* connection, char* error, size_t error_size, const char* context) {
  if (const unsigned code = mysql_errno(connection); code != 0) {
    snprintf(error, error_size, "DB error (%s) %u: %s", context, code, mysql_error(connection));
  } else {
    snprintf(error, error_size, "DB error (%s): unknown error", context);
  }
}

st_mysql* db_open(char* error, size_t error_size) {
  OwnedConnection connection(db_real_connect(error, error_size));
  if (!connection) return nullptr;
  mysql_query(connection.get(), "set foreign_key_checks=0");
  if (db_set_charset(connection.get(), error, error_size) != 0) return nullptr;
  return connection.release();
}

st_mysql* db_connect() {
  char error[kErrorSize] = "";
  st_mysql* const connection = db_open(error, sizeof error);
  if (connection == nullptr) report_error(0, 0, "%s", error);
  return connection;
}

const char* query_value(const char* query, st_mysql* connection, unsigned column) {
  static char value[kValueSize];
  OwnedConnection own;
  if (connection == nullptr) {
    own.reset(db_connect());
    connection = own.get();
  }
  if (connection == nullptr) {
    report_error(0, 0, "Unable to connect to the mysql database\n");
    return nullptr;
  }
  if (mysql_query(connection, query) != 0) {
    report_error(0, 0, "Unable to query parameter by query %s: %s\n", query,
                 mysql_error(connection));
    return nullptr;
  }
  const OwnedResult result(mysql_store_result(connection));
  const MYSQL_ROW row = next_row(result);
  const bool has_value =
      row != nullptr && column < mysql_num_fields(result.get()) && row[column] != nullptr;
  snprintf(value, sizeof value, "%s", has_value ? row[column] : "");
  return value;
}

const char* query_first_value(const char* query, st_mysql* connection) {
  return query_value(query, connection, 0);
}
