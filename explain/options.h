#ifndef EXPLAIN_OPTIONS_H
#define EXPLAIN_OPTIONS_H

#include <optional>
#include <string>
#include <variant>

/// What the user asked for.
struct Options {
  std::string message_file = "-";        ///< "-" for standard input
  std::optional<std::string> recipient;  ///< the address itself, without a prefix
  std::optional<std::string> rule;       ///< the one rule to tell about
  bool json = false;
  bool show_reply = false;
};

/// Reads the command line. Where that ends the program (a wrong one, --help, --version) the result
/// is its exit status, and what there was to say has been said.
std::variant<Options, int> parse_command_line(int argc, char** argv);

#endif
