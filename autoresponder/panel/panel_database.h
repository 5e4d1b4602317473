#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/base/owned.h"
#include "support/database.h"
#include "support/mysql_owned.h"

/// Thrown if the connection or a statement fails; ends the run. `what` is the diagnostic, one line.
class PanelFailure : public std::runtime_error {
 public:
  /// `error`: the client library's error number, 0 if there is no connection.
  PanelFailure(const std::string& diagnostic, unsigned error)
      : std::runtime_error(diagnostic), error_(error) {}

  unsigned error() const { return error_; }

 private:
  unsigned error_;
};

/// A text that is escaped for a single-quoted SQL literal. Only the functions that escape can
/// create one, so a statement cannot take an unescaped text by mistake.
class EscapedText {
 public:
  /// False if memory ran out.
  explicit operator bool() const { return text_ != nullptr; }

  std::string_view view() const { return text_.get(); }

 private:
  friend class PanelDatabase;
  friend EscapedText escape_without_connection(const std::string& text);

  explicit EscapedText(char* text) : text_(text) {}

  OwnedText text_;
};

/// The columns of a row: NUL-terminated texts, or null pointers for NULL.
using Row = char**;

/// The text of a column, or `fallback` if it is NULL.
inline const char* text_or(const char* column, const char* fallback) {
  return column != nullptr ? column : fallback;
}

/// The result of a query, held in memory; can be read once.
class Rows {
 public:
  explicit Rows(MYSQL_RES* result) : result_(result) {}

  /// The next row, or null after the last one and if the query had no result. Valid as long as this
  /// object.
  Row Next() { return next_row(result_); }
  bool IsEmpty() const { return !result_ || mysql_num_rows(result_.get()) == 0; }

 private:
  OwnedResult result_;
};

/// The first column of the first row, `if_null` if that is NULL; nothing without a row.
inline std::optional<std::string> first_column(Rows rows, const char* if_null) {
  const Row row = rows.Next();
  return row != nullptr ? std::make_optional<std::string>(text_or(*row, if_null)) : std::nullopt;
}

/// The connection to the panel's database. A run has only one.
class PanelDatabase {
 public:
  /// Connects as the panel's library does, unless by another function; throws `PanelFailure` if
  /// that fails.
  explicit PanelDatabase(MYSQL* (*connect)() = db_connect);

  /// For a reader of the panel's data: connects, without a system error in the library's report,
  /// and lets the server refuse any write. Older servers do not know how. Unlike a transaction it
  /// makes nobody wait. Throws `PanelFailure` if the connection fails.
  static PanelDatabase ReadOnly();

  /// Lets the session speak UTF-8 of four bytes where the panel's setting makes it speak UTF-8, of
  /// three bytes at most, and the server knows it.
  void SpeakAllCharacters() {
    if (db_utf8_mode == 1) TryQuery("SET NAMES utf8mb4");
  }

  /// Runs a query. Returns nothing if it failed; `error()` says why.
  std::optional<Rows> TryQuery(const std::string& query);

  /// Runs a query; if it fails, throws `PanelFailure` with `diagnostic` and the server's error
  /// message.
  Rows Query(const std::string& query, const char* diagnostic = kExecDiagnostic);

  /// Like `Query`, but throws also if an error occurs while rows are received: in a transaction the
  /// server finds some conflicts only then.
  Rows QueryWhole(const std::string& query);

  /// Runs a statement that returns no rows. Throws `PanelFailure` if it fails.
  void Execute(const std::string& statement);

  /// Throws the `PanelFailure` of a statement that the server refuses with this message and error
  /// number.
  [[noreturn]] static void Refuse(const char* words, unsigned error);

  /// Escapes `text` up to its first NUL, as the server expects it.
  EscapedText Escape(const std::string& text);

  /// Returns `escaped`, which was made from `text` without a connection, if it is right for this
  /// server; otherwise escapes `text` again: in the server's mode NO_BACKSLASH_ESCAPES a backslash
  /// is a plain character, and a quote after it would end the literal.
  EscapedText ForServer(const std::string& text, EscapedText escaped);

  /// The client library's message about the last failure.
  const char* error() { return mysql_error(connection_.get()); }

  /// The connection, for the functions that read the panel's settings.
  MYSQL* handle() { return connection_.get(); }

 private:
  static constexpr const char* kExecDiagnostic = "autoresponder: Unable to exec query :";

  bool Send(const std::string& statement);
  [[noreturn]] void Fail(const std::string& diagnostic);

  OwnedConnection connection_;
};

/// Escapes `text`, up to its first NUL, without a connection. The result is false if memory ran
/// out.
EscapedText escape_without_connection(const std::string& text);
