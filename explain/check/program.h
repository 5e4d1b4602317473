#pragma once

#include <string>
#include <vector>

#include "explain/check/inspection.h"

/// Where the installed program is looked for: below the root that it was built for, and below the
/// panel's root.
std::vector<std::string> installed_programs(const Inspection& inspection);
