#ifndef AUTORESPONDER_PANEL_PANEL_DATABASE_H
#define AUTORESPONDER_PANEL_PANEL_DATABASE_H

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/base/owned.h"
#include "support/mysql_owned.h"

/// The panel cannot be asked any more, which ends the run. `what` is the diagnostic, one line.
class PanelFailure : public std::runtime_error {
 public:
  /// `error`: the client library's error number; 0 without a connection.
  PanelFailure(const std::string& diagnostic, unsigned error)
      : std::runtime_error(diagnostic), error_(error) {}

  unsigned error() const { return error_; }

 private:
  unsigned error_;
};

/// A text that was escaped for a single-quoted SQL literal. Only the escaping makes one.
class EscapedText {
 public:
  /// False where there was no memory.
  explicit operator bool() const { return text_ != nullptr; }

  std::string_view view() const { return text_.get(); }

 private:
  friend class PanelDatabase;
  friend EscapedText escape_without_connection(const std::string& text);

  explicit EscapedText(char* text) : text_(text) {}

  OwnedText text_;
};

/// A row: NUL-terminated texts, null where the column is NULL.
using Row = char**;

/// The text of a column, or `fallback` where it is NULL.
inline const char* text_or(const char* column, const char* fallback) {
  return column != nullptr ? column : fallback;
}

/// The stored rows of a query, read once from first to last.
class Rows {
 public:
  explicit Rows(MYSQL_RES* result) : result_(result) {}

  /// The next row, or null; valid as long as the rows. A missing result has no rows.
  Row Next() { return next_row(result_); }
  bool IsEmpty() const { return !result_ || mysql_num_rows(result_.get()) == 0; }

 private:
  OwnedResult result_;
};

/// The one connection to the panel's database.
class PanelDatabase {
 public:
  /// Connects; throws `PanelFailure` where that fails.
  PanelDatabase();

  /// Runs a query; nothing when it failed, and `error()` says why.
  std::optional<Rows> TryQuery(const std::string& query);

  /// Runs a query; a failure throws `PanelFailure` with `diagnostic` and the server's words.
  Rows Query(const std::string& query, const char* diagnostic = kExecDiagnostic);

  /// Runs a statement without rows; a failure throws as in `Query`.
  void Execute(const std::string& statement);

  /// Throws what a statement throws that the server refuses with these words and this error number.
  [[noreturn]] static void Refuse(const char* words, unsigned error);

  /// `text` (up to its first NUL) escaped.
  EscapedText Escape(const std::string& text);

  /// `text`, which is `escaped` already without a connection, as this server reads it. That is the
  /// same text, unless the server's mode NO_BACKSLASH_ESCAPES makes a backslash a plain character:
  /// escaped without knowing of it, a quote in `text` would end the literal.
  EscapedText ForServer(const std::string& text, EscapedText escaped);

  /// The client library's words for the last failure.
  const char* error() { return mysql_error(connection_.get()); }

  /// For the library's readers of settings.
  MYSQL* handle() { return connection_.get(); }

 private:
  static constexpr const char* kExecDiagnostic = "autoresponder: Unable to exec query :";

  bool Send(const std::string& statement);
  [[noreturn]] void Fail(const std::string& diagnostic);

  OwnedConnection connection_;
};

/// `text` (up to its first NUL) escaped without a connection; false without memory.
EscapedText escape_without_connection(const std::string& text);

#endif
