#pragma once

#include <string_view>
#include <vector>

#include "explain/explanation.h"

/// The repair with this code, which has to be one in `kRepairs`.
const Repair* repair_named(std::string_view code);

/// The repairs that are off and would change something for a rule. `explanation` already holds the
/// message and the mailbox.
std::vector<const Repair*> repairs_with_effect(const Explanation& explanation,
                                               const RuleExplanation& facts);
