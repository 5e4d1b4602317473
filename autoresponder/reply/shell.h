#ifndef AUTORESPONDER_REPLY_SHELL_H
#define AUTORESPONDER_REPLY_SHELL_H

#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "autoresponder/reply/file_writer.h"

/// A shell command line under construction: texts whose syntax the shell reads, and values in
/// single quotes, between which it reads none.
class ShellCommand {
 public:
  /// Adds a text as it is; the shell reads its syntax.
  ShellCommand& Text(std::string_view text);

  /// Adds a single quote, the values one after the other, and a single quote. A value that holds
  /// one itself makes the command one that is refused.
  ShellCommand& Quoted(std::initializer_list<std::string_view> values);
  ShellCommand& Quoted(std::string_view value) { return Quoted({value}); }

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
  kWriteFile,   ///< run one that writes to a temporary file, in a process of its own
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
