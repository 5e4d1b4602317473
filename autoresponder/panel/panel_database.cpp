#include "autoresponder/panel/panel_database.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <nss.h>
#include <sys/prctl.h>
#include <utility>

#ifdef CLIENT_LIBRARY_USES_OPENSSL
#include <openssl/crypto.h>
#endif

#include "support/base/signals.h"
#include "support/report.h"
#include "support/strings.h"

namespace {

// Initialises the client library, without what a connection over a local socket never uses. Not
// done in the panel's library: other programs that link it may use TLS and name services
// themselves, as the system configures them.
void prepare_client_library() {
#ifdef CLIENT_LIBRARY_USES_OPENSSL
  // Only the first call of this function counts, so it precedes the client library's own. Reads no
  // configuration, which could load modules into a setuid process, and frees nothing at exit. TLS
  // would still work.
  OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT, nullptr);
#endif
  // The client library looks up its TCP port, which a local socket does not need. This restricts
  // the lookup to /etc/services: nscd is not asked, and no module is loaded.
  __nss_configure_lookup("services", "files");
  mysql_library_init(0, nullptr, nullptr);
}

// As `db_connect`, but the client library explains its failures itself: what it leaves in errno,
// such as that its socket had nothing to read yet, is not the reason.
MYSQL* connect_without_errno() {
  char error[4097] = "";
  MYSQL* const connection = db_open(error, sizeof error);
  errno = 0;
  if (connection == nullptr) report_error(0, 0, "%s", error);
  return connection;
}

}  // namespace

PanelDatabase::PanelDatabase(MYSQL* (*connect)()) {
  prepare_client_library();
  // The client library sleeps a microsecond after it has connected; with the usual slack of timers
  // this would be fifty.
  const int slack = prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0);
  prctl(PR_SET_TIMERSLACK, 1UL, 0, 0, 0);
  connection_.reset(connect());
  prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(slack), 0, 0, 0);
  survive_failing_writes();
  if (!connection_) Fail("autoresponder: Unable to connect to the mysql database ");
}

PanelDatabase PanelDatabase::ReadOnly() {
  PanelDatabase database(connect_without_errno);
  database.TryQuery("set session transaction read only");
  return database;
}

bool PanelDatabase::Send(const std::string& statement) {
  return mysql_real_query(handle(), statement.data(), statement.size()) == 0;
}

void PanelDatabase::Fail(const std::string& diagnostic) {
  throw PanelFailure(diagnostic, connection_ ? mysql_errno(handle()) : 0);
}

std::optional<Rows> PanelDatabase::TryQuery(const std::string& query) {
  if (!Send(query)) return std::nullopt;
  return Rows(mysql_store_result(handle()));
}

Rows PanelDatabase::Query(const std::string& query, const char* diagnostic) {
  if (!Send(query)) Fail(std::string(diagnostic) + error());
  return Rows(mysql_store_result(handle()));
}

Rows PanelDatabase::QueryWhole(const std::string& query) {
  Rows rows = Query(query);
  if (mysql_errno(handle()) != 0) Fail(std::string(kExecDiagnostic) + error());
  return rows;
}

void PanelDatabase::Execute(const std::string& statement) {
  if (!Send(statement)) Fail(std::string(kExecDiagnostic) + error());
}

void PanelDatabase::Refuse(const char* words, unsigned error) {
  throw PanelFailure(std::string(kExecDiagnostic) + words, error);
}

EscapedText PanelDatabase::Escape(const std::string& text) {
  return EscapedText(sql_escape(handle(), text.c_str()));
}

EscapedText PanelDatabase::ForServer(const std::string& text, EscapedText escaped) {
  const bool reads_backslashes = Escape("\\").view() == "\\\\";
  return reads_backslashes ? std::move(escaped) : Escape(text);
}

EscapedText escape_without_connection(const std::string& text) {
  prepare_client_library();  // sets the character set that escaping needs
  const size_t length = strlen(text.c_str());
  EscapedText escaped(static_cast<char*>(malloc(2 * length + 1)));
  if (escaped) mysql_escape_string(escaped.text_.get(), text.c_str(), length);
  return escaped;
}
