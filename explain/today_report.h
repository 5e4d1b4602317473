#pragma once

#include <iosfwd>

#include "explain/text_style.h"
#include "explain/today.h"

/// Writes a line for each rule, for people. Values from the database are made safe for a terminal.
void write_today_text(std::ostream& out, const Today& today);

/// Writes the same as one JSON object.
void write_today_json(std::ostream& out, const Today& today, const TextStyle& style);
