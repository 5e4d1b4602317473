#ifndef SUPPORT_GET_H
#define SUPPORT_GET_H

struct st_mysql;

/// Readers of the panel's settings.
///
/// All of them return a NUL-terminated text of at most 4095 bytes in a process-wide buffer, valid
/// until the next call: the value, an empty text where there is none, or null after a warning where
/// the query failed or no connection could be opened. The connection may be null; then one is
/// opened for the call. A key that holds a backslash or a quote of either kind aborts the process.

/// Column `value_column` of the first row of `table` whose `key_column` is `value`. The three names
/// go into the statement as they stand.
const char* get_table_value(const char* value, const char* table, const char* key_column,
                            const char* value_column, st_mysql* connection);

/// The panel-wide setting `name`.
const char* get_misc_param(const char* name, st_mysql* connection);

#endif
