#pragma once

#include "explain/check/finding.h"

/// Checks whether this server is set up right, and changes nothing. Returns what it found, the
/// worst first.
Findings check_server();

/// Whether nothing was found but advice.
bool is_set_up_right(const Findings& findings);
