#pragma once

#include <memory>

#include <mysql.h>

namespace kem {

/// Owner of a connection; may be null.
struct CloseConnection {
  void operator()(MYSQL* connection) const { mysql_close(connection); }
};
using OwnedConnection = std::unique_ptr<MYSQL, CloseConnection>;

/// Owner of a stored result; may be null.
struct FreeResult {
  void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};
using OwnedResult = std::unique_ptr<MYSQL_RES, FreeResult>;

/// The next row of `result`, valid as long as the result, or null; a null result has no rows.
inline MYSQL_ROW next_row(const OwnedResult& result) {
  return result ? mysql_fetch_row(result.get()) : nullptr;
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::CloseConnection;
using kem::FreeResult;
using kem::next_row;
using kem::OwnedConnection;
using kem::OwnedResult;
