#pragma once

#include <ostream>
#include <string>

#include "explain/check/formatting.h"

/// How a report is written.
struct TextStyle {
  bool show_reply = false;  ///< whether to include the whole text of each reply
  bool on_terminal = true;  ///< whether to escape what is unsafe on a terminal
  bool in_colour = true;
};

/// The values are the terminal's codes.
enum class Colour { kBold = 1, kRed = 31, kGreen = 32, kYellow = 33 };

/// `text` in the colour, if the style has colours.
inline std::string coloured(Colour colour, const std::string& text, const TextStyle& style) {
  if (!style.in_colour) return text;
  return formatted("\033[{}m{}\033[0m", static_cast<int>(colour), text);
}

/// Writes a line of a report: the name of a topic, and what libfmt makes of `format`.
template <typename... Values>
void write_line(std::ostream& out, const char* topic, const char* format, const Values&... values) {
  write_formatted(out, "  {:<12}", topic);
  write_formatted(out, format, values...);
  out << '\n';
}
