#pragma once

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"
#include "explain/check/check.h"
#include "explain/check/formatting.h"

/// Error numbers of the database server for what is missing or denied.
enum ServerError : unsigned {
  kUnknownColumn = 1054,
  kTableDenied = 1142,
  kColumnDenied = 1143,
  kNoSuchTable = 1146,
  kNoSuchTrigger = 1360,
};

/// What the checks know and have found. Each check adds its findings; the earlier ones fill in what
/// the later ones need.
struct Inspection {
  Findings findings;

  // Values of kem.conf; empty if it has none.
  std::string product_root;
  std::string qmail_root;
  std::string mail_names;
  Switches switches;

  std::optional<PanelDatabase> database;  ///< nothing if there is no connection

  /// Each adds a finding, whose text fmt makes of the literal `format` and the `values`.
  template <size_t kSize, typename... Values>
  void Error(const char* code, const char (&format)[kSize], const Values&... values) {
    Add(Severity::kError, code, format, values...);
  }
  template <size_t kSize, typename... Values>
  void Warning(const char* code, const char (&format)[kSize], const Values&... values) {
    Add(Severity::kWarning, code, format, values...);
  }
  template <size_t kSize, typename... Values>
  void Advice(const char* code, const char (&format)[kSize], const Values&... values) {
    Add(Severity::kAdvice, code, format, values...);
  }
  void Unseen(const std::string& what, const std::string& why) {
    Add(Severity::kUnseen, "not_seen", "{} could not be looked at: {}", what, why);
  }

  /// The same for any severity and a text that is no literal.
  template <typename... Values>
  void Add(Severity severity, const char* code, const char* format, const Values&... values) {
    findings.push_back({severity, code, formatted(format, values...)});
  }
};

// The checks, in the order in which they need each other's results. Each only reads. Those of the
// database may throw `PanelFailure`.

/// kem.conf: who may write it, its keys, the two switches. Fills in their values.
void check_configuration(Inspection& inspection);

/// The installed program: owner, mode, group, and the options of its mount.
void check_program(Inspection& inspection);

/// What a run starts or loads: sendmail, uuencode, sed and libidn.
void check_commands(Inspection& inspection);

/// The process that reads messages: whether this system lets it be confined.
void check_reader(Inspection& inspection);

/// The places of files: /tmp, /proc, the attachment store and control/databytes.
void check_places(Inspection& inspection);

/// The password file and the connection, which it opens for the later checks, read-only.
void check_connection(Inspection& inspection);

/// The tables and columns that a run reads, and the types of the columns.
void check_tables(Inspection& inspection);

/// The indexes without which a run reads rows of other mailboxes.
void check_indexes(Inspection& inspection);

/// What the limiter needs to write its own table: defaults, types and rights.
void check_limiter(Inspection& inspection);

/// What the database needs if it is a node of a MariaDB Galera cluster. Finds nothing on other
/// servers.
void check_cluster(Inspection& inspection);

/// Attachments that are too many for one command; forwarding addresses and file names that are
/// dangerous while the repairs are off.
void check_values(Inspection& inspection);

/// The mail server's deliveries: the prefixes of virtual domains, and the groups that they run in.
void check_deliveries(Inspection& inspection);

/// Where the installed program is looked for: below the root that it was built for, and below the
/// panel's root.
std::vector<std::string> installed_programs(const Inspection& inspection);
