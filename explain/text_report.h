#ifndef EXPLAIN_TEXT_REPORT_H
#define EXPLAIN_TEXT_REPORT_H

#include <iosfwd>

#include "explain/explanation.h"

/// How the report is shown.
struct TextStyle {
  bool show_reply = false;  ///< each reply whole
  bool on_terminal = true;  ///< nothing in a reply may steer the terminal
  bool in_colour = true;
};

/// Writes the explanation for people. Whatever strangers wrote is shown as printable text.
void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style);

#endif
