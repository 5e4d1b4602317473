#ifndef AUTORESPONDER_REPLY_SHELL_H
#define AUTORESPONDER_REPLY_SHELL_H

#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "autoresponder/reply/file_writer.h"

/// Builds a shell command line from texts, whose syntax the shell reads, and values in single
/// quotes, in which it reads none.
class ShellCommand {
 public:
  /// Adds `text` unchanged; the shell reads its syntax.
  ShellCommand& Text(std::string_view text);

  /// Adds the concatenated values in single quotes. If a value holds a single quote itself, the
  /// command is refused later.
  ShellCommand& Quoted(std::initializer_list<std::string_view> values);
  ShellCommand& Quoted(std::string_view value) { return Quoted({value}); }

  const std::string& line() const { return line_; }
  /// The first value that holds a single quote and so would escape from its quotes; nothing if
  /// none.
  const std::optional<std::string>& escaping_value() const { return escaping_value_; }

 private:
  std::string line_;
  std::optional<std::string> escaping_value_;
};

/// How a command is run.
enum class ShellUse {
  kRun,         ///< run the command and wait for its end
  kWriteFile,   ///< like kRun, for a command that writes to a temporary file (`run_file_writer`)
  kReadFromUs,  ///< start the command with a pipe from us as its standard input
};

struct ShellOutcome {
  bool refused = false;
  FILE* pipe = nullptr;  ///< with kReadFromUs; null if it failed. To be closed with `pclose`
};

/// Runs a command. The only place that starts a shell. A command with a value that holds a single
/// quote is refused, and reported on standard error. The command's exit status is ignored.
///
/// `limits`: for kWriteFile; a command that is killed because its time is over is reported.
ShellOutcome hand_to_shell(const ShellCommand& command, ShellUse use,
                           const WriterLimits& limits = {});

#endif
