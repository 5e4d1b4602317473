#pragma once

#include <optional>
#include <string>
#include <variant>

/// What the command line asks for.
enum class Question { kMessage, kCheck, kList, kToday };

/// The options of the command line.
struct Options {
  std::string message_file = "-";        ///< "-" for standard input
  std::optional<std::string> recipient;  ///< the address itself, without a prefix
  std::optional<std::string> rule;       ///< the id of the only rule to explain; nothing for all
  bool check = false;                    ///< whether to look at the server instead of a message
  std::optional<std::string> list;       ///< the address or domain whose rules to list instead
  bool today = false;                    ///< whether to tell what rules did today instead
  std::optional<std::string> mailbox;    ///< with `today`: the address whose rules to tell of
  bool json = false;
  bool show_reply = false;

  Question question() const {
    if (check) return Question::kCheck;
    if (today) return Question::kToday;
    return list ? Question::kList : Question::kMessage;
  }
};

/// Parses the command line. Returns an exit status if the program has to end: after --help and
/// --version, which have printed their text, and after reporting an error.
std::variant<Options, int> parse_command_line(int argc, char** argv);
