#ifndef EXPLAIN_TEXT_REPORT_H
#define EXPLAIN_TEXT_REPORT_H

#include <iosfwd>

#include "explain/explanation.h"

/// How the report is written.
struct TextStyle {
  bool show_reply = false;  ///< whether to include the whole text of each reply
  bool on_terminal = true;  ///< whether to make replies safe for a terminal
  bool in_colour = true;
};

/// Writes the explanation for people. Text from the message is made safe for a terminal.
void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style);

#endif
