#pragma once

#include <iosfwd>

#include "explain/explanation.h"
#include "explain/text_style.h"

/// Writes the explanation as one JSON object. Texts are UTF-8; malformed bytes become U+FFFD.
void write_json(std::ostream& out, const Explanation& explanation, const TextStyle& style);
