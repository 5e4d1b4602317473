#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

#include "explain/check/files.h"
#include "explain/check/inspection.h"
#include "support/database.h"
#include "support/mysql_owned.h"

namespace {

const std::string kPath = kAdminPasswordFile;

void check_mode(Inspection& inspection) {
  const auto state = state_of(kPath);
  if (!state) return;
  const bool is_exposed = state->st_uid != 0 || (state->st_mode & (S_IRWXG | S_IRWXO)) != 0;
  if (!is_exposed) return;
  inspection.Error("password_exposed",
                   "{0} is open to others than root (owner {1}, {2}): they can become root. "
                   "chown root:root {0} && chmod 600 {0}",
                   kPath, state->st_uid, mode_of(*state));
}

// The maximum length of a password, in bytes: a run reads no more.
constexpr size_t kMaxLength = 99;

// Whether the file has a password that a run can use.
bool check_password(Inspection& inspection) {
  check_mode(inspection);
  errno = 0;
  std::ifstream file(kPath);
  std::string line;
  if (!file.is_open() && is_hidden_from_us(errno)) {
    inspection.Unseen("The password and the database", kPath + ": " + words_of(errno));
    return false;
  }
  const int error = errno;
  if (!std::getline(file, line)) {
    const bool is_empty = file.is_open() && error == 0;
    inspection.Error("password_unreadable",
                     "{}{}. Its first line has to be the password of the database user admin.",
                     kPath, is_empty ? " is empty" : ": " + words_of(error));
    return false;
  }
  if (line.size() > kMaxLength) {
    inspection.Error("password_too_long",
                     "The password in {} is longer than {} bytes, and the rest is not read. Choose "
                     "a shorter one.",
                     kPath, kMaxLength);
  }
  return true;
}

// What to do if the client library, which looks where it was built to look, finds no server, and a
// server listens elsewhere; empty for other errors.
std::string advice_about_sockets(const std::string& error) {
  constexpr const char* kSockets[] = {"/run/mysqld/mysqld.sock", "/run/mariadbd/mariadbd.sock",
                                      "/var/lib/mysql/mysql.sock", "/tmp/mysql.sock"};
  if (error.find(".sock'") == std::string::npos) return "";
  for (const char* const path : kSockets) {
    struct stat status {};
    const bool is_socket = stat(path, &status) == 0 && S_ISSOCK(status.st_mode);
    if (!is_socket || error.find(path) != std::string::npos) continue;
    return formatted(
        ". A server listens at {}: make the path above a symbolic link to it, or let the "
        "server use that path",
        path);
  }
  return "";
}

// Whether a connection can be made, as a run makes it.
bool can_connect(Inspection& inspection) {
  char error[4096] = "";
  if (OwnedConnection(db_open(error, sizeof error))) return true;
  inspection.Error(
      "database_unusable",
      "No run can use the database: {}{}. Start the server, or correct the password in {}.", error,
      advice_about_sockets(error), kPath);
  return false;
}

// The limiter writes.
void check_writable(Inspection& inspection) {
  const auto value = first_column(inspection.database->Query("select @@global.read_only"), "0");
  if (atoi(value.value_or("0").c_str()) == 0) return;
  inspection.Error("server_read_only",
                   "The server is read-only: unless admin may write nonetheless, no rule replies. "
                   "set global read_only=0, or connect to another server");
}

}  // namespace

void check_connection(Inspection& inspection) {
  if (!check_password(inspection) || !can_connect(inspection)) return;
  try {
    inspection.database = PanelDatabase::ReadOnly();
    check_writable(inspection);
  } catch (const PanelFailure& failure) {
    inspection.Error("database_unusable", "{}", failure.what());
  }
}
