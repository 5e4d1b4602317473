#ifndef AUTORESPONDER_REPLY_SHELL_H
#define AUTORESPONDER_REPLY_SHELL_H

#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/switches.h"
#include "autoresponder/reply/file_writer.h"

/// Why a command is not run.
enum class Refusal {
  kQuote,    ///< a value holds a single quote; not with repairs, which escape it
  kNewline,  ///< with repairs: a value holds a newline
  kOption,   ///< with repairs: sendmail would read an address as an option
};

/// The value because of which a command is not run.
struct RefusedValue {
  Refusal why;
  std::string value;
};

/// Builds a shell command line from texts, whose syntax the shell reads, and values in single
/// quotes, in which it reads none.
class ShellCommand {
 public:
  /// A command without repairs.
  ShellCommand() = default;
  /// A command that escapes quotes if repairs are on.
  explicit ShellCommand(const Switches& switches) : repairs_(switches.repairs) {}

  /// Adds `text` unchanged; the shell reads its syntax.
  ShellCommand& Text(std::string_view text);

  /// Adds the concatenated values in single quotes. Without repairs, a single quote in a value
  /// refuses the command later. With repairs it is escaped, and a newline refuses the command.
  ShellCommand& Quoted(std::initializer_list<std::string_view> values);
  ShellCommand& Quoted(std::string_view value) { return Quoted({value}); }

  /// Like `Quoted`, for lines that this program has put together: with repairs they may hold
  /// newlines too.
  ShellCommand& QuotedLines(std::initializer_list<std::string_view> values);

  /// Like `Quoted`, for an address where sendmail looks for options. With repairs an address that
  /// begins with "-" refuses the command later.
  ShellCommand& Address(std::string_view address);

  /// Lets the command inherit `descriptor`, which has to stay open until it was run, and returns
  /// the name by which it can open the file. Only for commands that are run as a file writer.
  std::string Inherit(int descriptor);

  const std::string& line() const { return line_; }
  /// The first value that forbids to run the command; nothing if none does.
  const std::optional<RefusedValue>& refused() const { return refused_; }
  /// The descriptors to inherit.
  const std::vector<int>& inherited() const { return inherited_; }

 private:
  void Refuse(Refusal why, std::string_view value);
  void Add(std::string_view value);

  bool repairs_ = false;
  std::string line_;
  std::optional<RefusedValue> refused_;
  std::vector<int> inherited_;
};

/// Whether the system does not start the command, because it exceeds the kernel's limit on one
/// argument: 32 pages, with its NUL.
bool is_too_long(const ShellCommand& command);

/// How a command is run.
enum class ShellUse {
  kRun,         ///< run the command and wait for its end
  kWriteFile,   ///< like kRun, for a command that writes to a temporary file (`run_file_writer`)
  kReadFromUs,  ///< start the command with a pipe from us as its standard input
};

struct ShellOutcome {
  bool refused = false;
  FILE* pipe = nullptr;    ///< with kReadFromUs; null if it failed. To be closed with `pclose`
  bool succeeded = false;  ///< with kWriteFile: the command ended in time, with exit status 0
};

/// Runs a command. The only place that starts a shell. A command that is to be refused is reported
/// on standard error instead. The exit status is not reported.
///
/// `limits`: for kWriteFile; a command that is killed because its time is over is reported.
ShellOutcome hand_to_shell(const ShellCommand& command, ShellUse use,
                           const WriterLimits& limits = {});

#endif
