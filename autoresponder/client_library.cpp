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
void* address_of(const char* name) {
  [[maybe_unused]] static const bool has_tls = (load_tls(), true);
  return client.Find(name);
}

template <class Function>
Function* resolve(Function* /*of_this_file*/, const char* name) {
  return reinterpret_cast<Function*>(address_of(name));
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): declarations cannot stand in parentheses
#define LATE(result, function, parameters, arguments)        \
  result function parameters {                               \
    static auto* const call = resolve(&function, #function); \
    return call arguments;                                   \
  }
// NOLINTEND(bugprone-macro-parentheses)

#ifdef CLIENT_LIBRARY_USES_OPENSSL
LATE(int, OPENSSL_init_crypto, (uint64_t options, const OPENSSL_INIT_SETTINGS* settings),
     (options, settings))
#endif
LATE(int, mysql_server_init, (int count, char** values, char** groups), (count, values, groups))
LATE(MYSQL*, mysql_init, (MYSQL * connection), (connection))
LATE(int, mysql_options, (MYSQL * connection, mysql_option option, const void* value),
     (connection, option, value))
LATE(MYSQL*, mysql_real_connect,
     (MYSQL * connection, const char* host, const char* user, const char* password,
      const char* database, unsigned port, const char* socket, unsigned long flags),
     (connection, host, user, password, database, port, socket, flags))
LATE(my_socket, mysql_get_socket, (MYSQL * connection), (connection))
LATE(void, mysql_close, (MYSQL * connection), (connection))
LATE(int, mysql_query, (MYSQL * connection, const char* statement), (connection, statement))
LATE(int, mysql_real_query, (MYSQL * connection, const char* statement, unsigned long length),
     (connection, statement, length))
LATE(MYSQL_RES*, mysql_store_result, (MYSQL * connection), (connection))
LATE(MYSQL_ROW, mysql_fetch_row, (MYSQL_RES * result), (result))
LATE(unsigned, mysql_num_fields, (MYSQL_RES * result), (result))
LATE(my_ulonglong, mysql_num_rows, (MYSQL_RES * result), (result))
LATE(void, mysql_free_result, (MYSQL_RES * result), (result))
LATE(unsigned, mysql_errno, (MYSQL * connection), (connection))
LATE(const char*, mysql_error, (MYSQL * connection), (connection))
LATE(unsigned long, mysql_real_escape_string,
     (MYSQL * connection, char* to, const char* from, unsigned long length),
     (connection, to, from, length))
LATE(unsigned long, mysql_escape_string, (char* to, const char* from, unsigned long length),
     (to, from, length))
