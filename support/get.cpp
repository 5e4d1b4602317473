#include "support/get.h"

#include <cstdio>

#include "support/database.h"
#include "support/param_check.h"

namespace {

constexpr const char* kFile = "get";
constexpr size_t kStatementSize = 4096;

}  // namespace

const char* get_table_value(const char* value, const char* table, const char* key_column,
                            const char* value_column, st_mysql* connection) {
  ASSERT_PLAIN_PARAM(kFile, value);
  char statement[kStatementSize];
  snprintf(statement, sizeof statement, "select %s from %s where %s='%s'", value_column, table,
           key_column, value);
  return query_first_value(statement, connection);
}

const char* get_misc_param(const char* name, st_mysql* connection) {
  return get_table_value(name, "misc", "param", "val", connection);
}
