#ifndef EXPLAIN_REPAIRS_H
#define EXPLAIN_REPAIRS_H

#include <string_view>
#include <vector>

#include "explain/explanation.h"

/// The repair of that name, one of `kRepairs`.
const Repair* repair_named(std::string_view code);

/// The repairs that are off and would change something for a rule. The message and the mailbox are
/// already in `explanation`.
std::vector<const Repair*> repairs_with_effect(const Explanation& explanation,
                                               const RuleExplanation& facts);

#endif
