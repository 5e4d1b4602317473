#pragma once

#include <iosfwd>

#include "autoresponder/message/switches.h"
#include "explain/check/finding.h"
#include "explain/text_style.h"

/// Writes the findings for people, one line each. Values from the server are made safe for a
/// terminal.
void write_check_text(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style);

/// Writes the findings as one JSON object.
void write_check_json(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style);
