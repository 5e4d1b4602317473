#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/mysql_owned.h"

/// The columns of a row; nothing for NULL.
using FakeRow = std::vector<std::optional<std::string>>;

/// Stands for the database's client library and the server: answers statements with rows, and keeps
/// all statements. One at a time.
class FakeDatabase {
 public:
  FakeDatabase();
  ~FakeDatabase();
  FakeDatabase(const FakeDatabase&) = delete;
  FakeDatabase& operator=(const FakeDatabase&) = delete;

  static MYSQL* Open();

  /// Statements that contain `part` get these rows; others none. Of several the last answer counts.
  void Answer(const std::string& part, const std::vector<FakeRow>& rows);

  /// Statements that contain `part` fail, the first `times` of them.
  void Fail(const std::string& part, unsigned error, const std::string& words, int times = 1000);

  std::vector<std::string> statements;

  struct Reaction {
    std::string part;
    std::vector<FakeRow> rows;
    unsigned error = 0;
    std::string words;
    int times = 0;  ///< how often it still fails
  };
  /// How the server reacts to the statement.
  Reaction ReactionTo(const std::string& statement);
  Reaction last;  ///< to the last statement

 private:
  std::vector<Reaction> reactions_;
};
