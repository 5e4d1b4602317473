#ifndef EXPLAIN_EXAMINATION_H
#define EXPLAIN_EXAMINATION_H

#include <string>

#include "explain/explanation.h"
#include "explain/options.h"

/// Fills `explanation` with what the run would do with the message that `options` name, as far as
/// it can be told. Reads the message, the configuration and the database, and writes nothing but
/// diagnostics to standard error. A fatal report of the library ends the process.
void examine(const Options& options, Explanation& explanation);

#endif
