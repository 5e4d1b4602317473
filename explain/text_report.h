#pragma once

#include <iosfwd>

#include "explain/explanation.h"
#include "explain/text_style.h"

/// Writes the explanation for people. Text from the message is made safe for a terminal.
void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style);
