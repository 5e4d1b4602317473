#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain/check/formatting.h"

/// What a rule did today, by the calendar of the database server. Numbers are in decimal.
struct RuleToday {
  std::string address;
  std::string rule;
  std::string senders;
  std::string replies;
  std::string refused;   ///< the senders who got as many replies as the rule allows
  bool is_full = false;  ///< whether the rule remembers as many senders as it may
};

/// What the rules did today.
struct Today {
  bool has_mailbox = true;  ///< false if a mailbox was asked for and there is none
  std::vector<RuleToday> rules;
  std::string trouble;  ///< why it cannot be told; empty if it can
};

/// Looks up what the rules of the mailbox of the address `asked` did today; without it, what all
/// rules did that replied. Only reads. A fatal error in the panel's library ends the process.
Today replies_today(const std::optional<std::string>& asked);
