#pragma once

#include <ostream>

/// A row of a table of tests, whose name shows in the failure.
struct NamedRow {
  const char* name;

  friend std::ostream& operator<<(std::ostream& out, const NamedRow& row) {
    return out << row.name;
  }
};
