#ifndef EXPLAIN_OPTIONS_H
#define EXPLAIN_OPTIONS_H

#include <optional>
#include <string>
#include <variant>

/// The options of the command line.
struct Options {
  std::string message_file = "-";        ///< "-" for standard input
  std::optional<std::string> recipient;  ///< the address itself, without a prefix
  std::optional<std::string> rule;       ///< the id of the only rule to explain; all without it
  bool json = false;
  bool show_reply = false;
};

/// Parses the command line. Returns an exit status if the program has to end: after --help and
/// --version, and after an error. The text for the user has been printed then.
std::variant<Options, int> parse_command_line(int argc, char** argv);

#endif
