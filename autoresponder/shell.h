#ifndef AUTORESPONDER_SHELL_H
#define AUTORESPONDER_SHELL_H

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "autoresponder/termination.h"

/// A shell command line under construction: fixed texts, and values that they put between single
/// quotes.
class ShellCommand {
 public:
  /// Adds a text as it stands; the shell reads its syntax.
  ShellCommand& Text(std::string_view text);
  /// Adds a value, in front of which and behind which a text puts a single quote.
  ShellCommand& Value(std::string_view value);

  const std::string& line() const { return line_; }
  /// The first value that holds a single quote and would leave its own quotes.
  const std::optional<std::string>& escaping_value() const { return escaping_value_; }

 private:
  std::string line_;
  std::optional<std::string> escaping_value_;
};

/// What a command is started for.
enum class ShellUse {
  kRun,         ///< run it and wait for its end
  kWriteFile,   ///< the same for one that writes to a temporary file
  kReadFromUs,  ///< start it with a pipe from us as its standard input
};

struct ShellOutcome {
  bool refused = false;
  FILE* pipe = nullptr;  ///< kReadFromUs: the pipe, to be closed with `pclose`, or null
};

/// The only way to the shell. A command with a value that holds a single quote never gets there:
/// one line on standard error says so. The status of a command is not looked at.
///
/// `limits`: for kWriteFile; a command that is ended because its time is over is reported.
ShellOutcome hand_to_shell(const ShellCommand& command, ShellUse use,
                           const WriterLimits& limits = {});

#endif
