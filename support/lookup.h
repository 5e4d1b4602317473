#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>

#include "support/mysql_owned.h"

namespace kem {

// Shared by the readers and writers of settings.

/// Aborts the process by a failed assertion, in every build type, if one of `params`
/// (NUL-terminated keys that go unescaped between quotes into a statement, or null) holds a
/// backslash, a double quote or a single quote. The message names `file`, `line` and `function`.
void assert_plain_params(std::initializer_list<const char*> params, const char* file, unsigned line,
                         const char* function);

/// The size of a buffer for a result, with its NUL.
constexpr size_t kResultSize = 4096;

/// The key, or "(null)" for null, which printf need not accept.
inline const char* key_text(const char* key) {
  return key != nullptr ? key : "(null)";
}

/// A statement made of a printf format and keys, silently cut at 4095 bytes. A null key becomes
/// "(null)", as glibc's printf has it.
class Statement {
 public:
  explicit Statement(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// NUL-terminated; lives as long as the statement.
  const char* text() const { return text_; }

 private:
  char text_[4096];
};

// Reported by the routines if they cannot connect.
constexpr const char* kConnectTextA = "Unable to connect to mysql database\n";
constexpr const char* kConnectTextB = "Unable to connect to the mysql database\n";
/// Kept: `get_dns_zone_id` says this too.
constexpr const char* kConnectTextC = "get_ip_address: Unable to connect to the mysql database";
constexpr const char* kConnectTextD = "Unable to connect to mysql database";

/// What a routine reports if its statement fails.
struct Complaint {
  const char* format;                   ///< for printf; takes the key, if any, and the error
  std::optional<const char*> key = {};  ///< empty if the format takes the error alone; may be null
  int status = 0;                       ///< 0 for a warning; any other ends the process
};

/// Reports the complaint with `reason` as the error; ends the process if its status is not 0.
void complain(const Complaint& complaint, const char* reason);

/// The connection of one call: the caller's or, if that is null, a new one that this object closes.
/// A failure to connect is reported with `connect_text` and `status`.
class LookupSession {
 public:
  LookupSession(MYSQL* given, const char* connect_text, int status = 0);

  MYSQL* handle() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  OwnedConnection own_;
  MYSQL* handle_;
};

/// Sends a NUL-terminated statement; false, after the complaint, if it fails.
bool send_statement(MYSQL* connection, const char* statement, const Complaint& complaint);

/// The first column of the first row of the last query; null if there is no row or the column is
/// NULL. Valid as long as `result`, which takes over the rows.
const char* first_value(MYSQL* connection, OwnedResult& result);

/// Copies the value that `statement` asks for, or an empty text if there is none, into `result` of
/// kResultSize bytes and returns it; null after reporting that the statement or the connection
/// failed.
const char* read_value(char* result, const Statement& statement, MYSQL* given,
                       const char* connect_text, const Complaint& complaint);

}  // namespace kem
