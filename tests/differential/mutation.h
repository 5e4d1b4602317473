#pragma once

#include <string>

#include "random.h"

/// `message` with a few changes in its header: bytes and pieces of syntax put in, taken out,
/// doubled and moved, without regard to what is well-formed.
std::string mutate(Random& random, std::string message);
