#pragma once

#include <cstddef>

struct st_mysql;

/// The file whose first line is the password of the database user "admin".
constexpr const char* kAdminPasswordFile = "/etc/kem/.kem.shadow";

/// The character set of this process's sessions: -1 not known yet, 0 "SET NAMES binary" (or a
/// server without character sets), 1 "SET NAMES utf8". Set by `db_set_charset` once it has chosen,
/// even if the server then refuses the "SET NAMES".
extern int db_utf8_mode;

/// The current value of `db_utf8_mode`.
int db_get_utf8_mode();

/// Returns `db_utf8_mode`. If that is not known yet, opens and closes a connection first, which
/// sets it. A failure is reported as a warning; the result is then -1, unless only the "SET NAMES"
/// failed.
int db_probe_utf8_mode();

/// Reads the first line of kAdminPasswordFile, without its newline and at most `password_size` - 1
/// bytes of it, into `password`. Returns 0, or -1 with a message in `error` (cut at `error_size`).
int read_admin_password(char* password, size_t password_size, char* error, size_t error_size);

/// The first line of kAdminPasswordFile, without its newline and at most 99 bytes of it, in a
/// process-wide buffer. A file that cannot be opened or read ends the process with status 1.
const char* read_admin_password_file();

/// A new connection to the database "kem" on the local host, to be closed by the caller with
/// `mysql_close`; or null with a message in `error`. This and every later call on the connection
/// fail once the server has been silent for 120 seconds.
st_mysql* db_real_connect(char* error, size_t error_size);

/// Chooses the session's character set by the server's version and the panel's setting
/// "mysql41_compatible". Returns 0, or -1 with a message in `error`.
int db_set_charset(st_mysql* connection, char* error, size_t error_size);

/// Writes the client library's last error on `connection` into `error`. `context` says what failed.
void db_error_text(st_mysql* connection, char* error, size_t error_size, const char* context);

/// A new connection that is ready for use: from `db_real_connect`, with foreign-key checks off and
/// the character set chosen. The caller closes it with `mysql_close`. Null with a message in
/// `error`.
st_mysql* db_open(char* error, size_t error_size);

/// Like `db_open`, but reports a failure as a warning and then returns null.
st_mysql* db_connect();

/// Runs `query` and returns column `column` of its first row, as a NUL-terminated text of at most
/// 4095 bytes in a process-wide buffer that the next call overwrites: an empty text if there is no
/// row, the row has no such column, or the column is NULL; null (after a warning) if the query
/// failed or there is no connection. With a null `connection` opens one for the call.
const char* query_value(const char* query, st_mysql* connection, unsigned column);

/// `query_value` of column 0, in the same buffer.
const char* query_first_value(const char* query, st_mysql* connection);
