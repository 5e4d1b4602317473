// The functions of the database's client library that the program calls. The library is not linked:
// the first call loads it and its TLS library. So a run that ends earlier does not load them, and
// the reader, which parses hostile input, has neither in its memory.

#include <cerrno>
#include <dlfcn.h>

#include <mysql.h>
#ifdef CLIENT_LIBRARY_USES_OPENSSL
#include <openssl/crypto.h>
#endif

#include "support/late_library.h"

namespace {

kem::LateLibrary client("the database's client library", CLIENT_FILE, RTLD_LAZY | RTLD_GLOBAL);

// RTLD_DEEPBIND: most symbols that the TLS library refers to are its own, and are found faster if
// the loader searches it first. AddressSanitizer does not allow this flag.
void load_tls() {
#if defined(CRYPTO_FILE) && !defined(__SANITIZE_ADDRESS__)
  const int saved_errno = errno;
  dlopen(CRYPTO_FILE, RTLD_LAZY | RTLD_GLOBAL | RTLD_DEEPBIND);
  errno = saved_errno;
#endif
}

// The library's function `name`. The symbols of this file are hidden, so this does not find them.
template <class Function>
Function* find(Function* /*of_this_file*/, const char* name) {
  [[maybe_unused]] static const bool has_tls = (load_tls(), true);
  return reinterpret_cast<Function*>(client.Find(name));
}

}  // namespace

#define REAL(function) static auto* const call = find(&function, #function)

#ifdef CLIENT_LIBRARY_USES_OPENSSL
int OPENSSL_init_crypto(uint64_t options, const OPENSSL_INIT_SETTINGS* settings) {
  REAL(OPENSSL_init_crypto);
  return call(options, settings);
}
#endif

int mysql_server_init(int count, char** arguments, char** groups) {
  REAL(mysql_server_init);
  return call(count, arguments, groups);
}

MYSQL* mysql_init(MYSQL* connection) {
  REAL(mysql_init);
  return call(connection);
}

int mysql_options(MYSQL* connection, mysql_option option, const void* value) {
  REAL(mysql_options);
  return call(connection, option, value);
}

MYSQL* mysql_real_connect(MYSQL* connection, const char* host, const char* user,
                          const char* password, const char* database, unsigned port,
                          const char* socket, unsigned long flags) {
  REAL(mysql_real_connect);
  return call(connection, host, user, password, database, port, socket, flags);
}

my_socket mysql_get_socket(MYSQL* connection) {
  REAL(mysql_get_socket);
  return call(connection);
}

void mysql_close(MYSQL* connection) {
  REAL(mysql_close);
  call(connection);
}

int mysql_query(MYSQL* connection, const char* statement) {
  REAL(mysql_query);
  return call(connection, statement);
}

int mysql_real_query(MYSQL* connection, const char* statement, unsigned long length) {
  REAL(mysql_real_query);
  return call(connection, statement, length);
}

MYSQL_RES* mysql_store_result(MYSQL* connection) {
  REAL(mysql_store_result);
  return call(connection);
}

MYSQL_ROW mysql_fetch_row(MYSQL_RES* result) {
  REAL(mysql_fetch_row);
  return call(result);
}

unsigned mysql_num_fields(MYSQL_RES* result) {
  REAL(mysql_num_fields);
  return call(result);
}

my_ulonglong mysql_num_rows(MYSQL_RES* result) {
  REAL(mysql_num_rows);
  return call(result);
}

void mysql_free_result(MYSQL_RES* result) {
  REAL(mysql_free_result);
  call(result);
}

unsigned mysql_errno(MYSQL* connection) {
  REAL(mysql_errno);
  return call(connection);
}

const char* mysql_error(MYSQL* connection) {
  REAL(mysql_error);
  return call(connection);
}

unsigned long mysql_real_escape_string(MYSQL* connection, char* to, const char* from,
                                       unsigned long length) {
  REAL(mysql_real_escape_string);
  return call(connection, to, from, length);
}

unsigned long mysql_escape_string(char* to, const char* from, unsigned long length) {
  REAL(mysql_escape_string);
  return call(to, from, length);
}
