#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "explain/check/inspection.h"

/// A check of the database, whose server answers as the test says.
class CheckedDatabase : public testing::Test {
 protected:
  /// The codes of what the check finds, separated by blanks.
  std::string CodesOf(void (*check)(Inspection&)) {
    inspection_.findings.clear();
    check(inspection_);
    std::string codes;
    for (const Finding& finding : inspection_.findings) {
      codes += std::string(codes.empty() ? "" : " ") + finding.code;
    }
    return codes;
  }

  /// The text of the only finding.
  std::string Text() const {
    return inspection_.findings.size() == 1 ? inspection_.findings[0].text : "not one finding";
  }

  /// Lets the server define `table` with these columns, and the charset utf8mb4.
  void Define(const std::string& table, const std::string& columns) {
    server_.Answer("show create table `" + table + "`",
                   {{table, "CREATE TABLE `" + table + "` (\n  " + columns +
                                "\n) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4"}});
  }

  FakeDatabase server_;
  Inspection inspection_{{}, "", "", "", {}, PanelDatabase(FakeDatabase::Open)};
};
