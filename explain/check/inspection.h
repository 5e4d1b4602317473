#ifndef EXPLAIN_CHECK_INSPECTION_H
#define EXPLAIN_CHECK_INSPECTION_H

#include <optional>
#include <string>
#include <utility>

#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"
#include "explain/check/finding.h"

/// What the checks of one server know and found. Each check adds its findings; the earlier ones
/// fill in what the later ones need.
struct Inspection {
  Findings findings;

  // Values of kem.conf, empty where it has none.
  std::string product_root;
  std::string qmail_root;
  std::string mail_names;
  Switches switches;

  std::optional<PanelDatabase> database;  ///< nothing if there is no connection

  void Error(const char* code, std::string text) {
    findings.push_back({Severity::kError, code, std::move(text)});
  }
  void Warning(const char* code, std::string text) {
    findings.push_back({Severity::kWarning, code, std::move(text)});
  }
  void Unseen(const std::string& what, const std::string& why) {
    findings.push_back({Severity::kUnseen, "not_seen", what + " could not be looked at: " + why});
  }
  void Advice(const char* code, std::string text) {
    findings.push_back({Severity::kAdvice, code, std::move(text)});
  }
};

#endif
