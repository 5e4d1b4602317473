#ifndef EXPLAIN_REPAIRS_H
#define EXPLAIN_REPAIRS_H

#include <vector>

#include "explain/explanation.h"

/// What repairs would change for a rule that was explained without them; empty with them. The
/// message and the mailbox are already in `explanation`.
std::vector<RepairChange> changes_by_repairs(const Explanation& explanation,
                                             const RuleExplanation& facts);

#endif
