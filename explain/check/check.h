#pragma once

#include <string>
#include <vector>

#include "autoresponder/message/switches.h"

/// How bad a finding is, the worst first.
enum class Severity {
  kError,    ///< no reply leaves, or somebody gets what they must not have
  kWarning,  ///< works, but not for every message
  kUnseen,   ///< something could not be looked at
  kAdvice,   ///< nothing is wrong, but something could be better
};

struct Finding {
  Severity severity;
  const char* code;  ///< for programs; never changes
  std::string text;  ///< for people: what is wrong and what to do; any bytes, unsafe on a terminal
};

using Findings = std::vector<Finding>;

/// Checks whether this server is set up right, and changes nothing. Returns what it found, the
/// worst first. Sets `switches` to what the configuration says.
Findings check_server(Switches& switches);

/// Whether nothing was found but advice.
bool is_set_up_right(const Findings& findings);
