#pragma once

#include <string>
#include <vector>

/// The messages of tests/data/messages.json, well-formed and malformed ones.
std::vector<std::string> recorded_messages();
