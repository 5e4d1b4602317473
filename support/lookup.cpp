// The assertion on keys is part of the routines' contract, so it stays in builds without
// assertions.
#undef NDEBUG
#include "support/lookup.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "support/database.h"
#include "support/report.h"

namespace kem {

void assert_plain_params(std::initializer_list<const char*> params, const char* file, unsigned line,
                         const char* function) {
  for (const char* const param : params) {
    if (param == nullptr || strpbrk(param, "\\\"'") == nullptr) continue;
    __assert_fail(R"(param_val == NULL || strpbrk(param_val, "\\\"'") == NULL)", file, line,
                  function);
  }
}

LookupSession::LookupSession(MYSQL* given, const char* connect_text, int status)
    : own_(given == nullptr ? db_connect() : nullptr),
      handle_(given != nullptr ? given : own_.get()) {
  if (handle_ == nullptr) report_error(status, 0, "%s", connect_text);
}

Statement::Statement(const char* format, ...) {
  va_list keys;
  va_start(keys, format);
  vsnprintf(text_, sizeof text_, format, keys);
  va_end(keys);
}

void complain(const Complaint& complaint, const char* reason) {
  if (complaint.key) {
    report_error(complaint.status, 0, complaint.format, key_text(*complaint.key), reason);
  } else {
    report_error(complaint.status, 0, complaint.format, reason);
  }
}

bool send_statement(MYSQL* connection, const char* statement, const Complaint& complaint) {
  if (mysql_real_query(connection, statement, strlen(statement)) == 0) return true;
  complain(complaint, mysql_error(connection));
  return false;
}

const char* first_value(MYSQL* connection, OwnedResult& result) {
  result.reset(mysql_store_result(connection));
  const MYSQL_ROW row = next_row(result);
  return row != nullptr ? row[0] : nullptr;
}

const char* read_value(char* result, const Statement& statement, MYSQL* given,
                       const char* connect_text, const Complaint& complaint) {
  const LookupSession session(given, connect_text);
  if (!session || !send_statement(session.handle(), statement.text(), complaint)) return nullptr;
  OwnedResult rows;
  const char* const value = first_value(session.handle(), rows);
  snprintf(result, kResultSize, "%s", value != nullptr ? value : "");
  return result;
}

}  // namespace kem
