#pragma once

#include "autoresponder/message/switches.h"
#include "explain/check/finding.h"

/// Checks whether this server is set up right, and changes nothing. Returns what it found, the
/// worst first. Sets `switches` to what the configuration says.
Findings check_server(Switches& switches);

/// Whether nothing was found but advice.
bool is_set_up_right(const Findings& findings);
