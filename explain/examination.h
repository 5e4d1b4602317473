#pragma once

#include "explain/explanation.h"
#include "explain/options.h"

/// Fills `explanation` with what a run would do with the message that `options` name, as far as
/// that can be found out. Only reads the message, the configuration and the database; writes
/// diagnostics to standard error. A fatal error in the panel's library ends the process.
void examine(const Options& options, Explanation& explanation);
