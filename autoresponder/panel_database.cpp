#include "autoresponder/panel_database.h"

#include <cstring>

#include "autoresponder/process.h"
#include "autoresponder/temporary_files.h"
#include "support/database.h"
#include "support/diagnose.h"
#include "support/strings.h"

PanelDatabase::PanelDatabase() : connection_(db_connect()) {
  survive_failing_writes();  // the client library ignores SIGPIPE, and commands would inherit that
  if (connection_) return;
  diagnose({"autoresponder: Unable to connect to the mysql database "});
  cleanup_and_exit();
}

bool PanelDatabase::Send(const std::string& statement) {
  return mysql_real_query(handle(), statement.data(), statement.size()) == 0;
}

void PanelDatabase::Fail(const char* diagnostic) {
  diagnose({diagnostic, error()});
  cleanup_and_exit();
}

std::optional<Rows> PanelDatabase::TryQuery(const std::string& query) {
  if (!Send(query)) return std::nullopt;
  return Rows(mysql_store_result(handle()));
}

Rows PanelDatabase::Query(const std::string& query, const char* diagnostic) {
  if (!Send(query)) Fail(diagnostic);
  return Rows(mysql_store_result(handle()));
}

void PanelDatabase::Execute(const std::string& statement) {
  if (!Send(statement)) Fail(kExecDiagnostic);
}

std::string PanelDatabase::Escape(const std::string& text) {
  return OwnedText(sql_escape(handle(), text.c_str())).get();
}

OwnedText escape_without_connection(const std::string& text) {
  // Before the first connection the client library has no character set to escape in.
  mysql_library_init(0, nullptr, nullptr);
  const size_t length = strlen(text.c_str());
  OwnedText escaped(static_cast<char*>(malloc(2 * length + 1)));
  if (escaped) mysql_escape_string(escaped.get(), text.c_str(), length);
  return escaped;
}
