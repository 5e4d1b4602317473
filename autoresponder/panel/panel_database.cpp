#include "autoresponder/panel/panel_database.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/base/signals.h"
#include "support/database.h"
#include "support/strings.h"

PanelDatabase::PanelDatabase() : connection_(db_connect()) {
  survive_failing_writes();
  if (!connection_) Fail("autoresponder: Unable to connect to the mysql database ");
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
  // Without this the client library has no character set to escape in before the first connection.
  mysql_library_init(0, nullptr, nullptr);
  const size_t length = strlen(text.c_str());
  EscapedText escaped(static_cast<char*>(malloc(2 * length + 1)));
  if (escaped) mysql_escape_string(escaped.text_.get(), text.c_str(), length);
  return escaped;
}
