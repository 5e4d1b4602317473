#pragma once

#include <optional>
#include <string>

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
