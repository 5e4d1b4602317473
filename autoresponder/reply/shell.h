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

/// What a command is for.
enum class Purpose {
  kForward,  ///< to forward the message
  kNotify,   ///< to tell the owner about missing attachments
  kAttach,   ///< to append the attachments to the response file
  kReply,    ///< to send the reply
};

/// Why a command is not run.
enum class NotRun {
  kQuote,      ///< a value holds a single quote, which is not escaped
  kNewline,    ///< a value holds a newline, which a repair forbids
  kOption,     ///< sendmail would read an address as an option, which a repair forbids
  kTooLong,    ///< the system does not start a command of this length
  kNoProgram,  ///< the mail server's sendmail is missing or not executable
};

/// The value because of which a command is refused.
struct RefusedValue {
  NotRun why;
  std::string value;
};

/// Builds a shell command line from texts, whose syntax the shell reads, and values in single
/// quotes, in which it reads none.
class ShellCommand {
 public:
  ShellCommand(Purpose purpose, const Repairs& repairs) : purpose_(purpose), repairs_(repairs) {}

  /// Adds `text` unchanged; the shell reads its syntax.
  ShellCommand& Text(std::string_view text);

  /// Adds the concatenated values in single quotes. A single quote in a value refuses the command
  /// later, or is escaped by the repair of quotes. The repair of newlines refuses a newline.
  ShellCommand& Quoted(std::initializer_list<std::string_view> values);
  ShellCommand& Quoted(std::string_view value) { return Quoted({value}); }

  /// Like `Quoted`, for lines that this program has put together: they may hold newlines.
  ShellCommand& QuotedLines(std::initializer_list<std::string_view> values);

  /// Like `Quoted`, for an address where sendmail looks for options. The repair of options refuses
  /// an address that begins with "-".
  ShellCommand& Address(std::string_view address);

  /// Lets the command inherit `descriptor`, which has to stay open until it was run, and returns
  /// the name by which it can open the file. Only for kAttach.
  std::string Inherit(int descriptor);

  /// What the command reads from its standard input. Only for kNotify.
  std::string input;
  /// The limits within which the command has to end. Only for kAttach.
  WriterLimits limits;

  Purpose purpose() const { return purpose_; }
  const std::string& line() const { return line_; }
  /// The first value that forbids to run the command; nothing if none does.
  const std::optional<RefusedValue>& refused() const { return refused_; }
  /// The descriptors to inherit.
  const std::vector<int>& inherited() const { return inherited_; }

 private:
  void Refuse(NotRun why, std::string_view value);
  void Add(std::string_view value);

  Purpose purpose_;
  Repairs repairs_;
  std::string line_;
  std::optional<RefusedValue> refused_;
  std::vector<int> inherited_;
};

/// Whether the system does not start the command, because it exceeds the kernel's limit on one
/// argument: 32 pages, with its NUL.
bool is_too_long(const ShellCommand& command);

struct ShellOutcome {
  bool refused = false;
  FILE* pipe = nullptr;    ///< of kNotify: into the command's standard input; null if it failed. To
                           ///< be closed with `pclose`
  bool succeeded = false;  ///< of kAttach: the command ended in time, with exit status 0
};

/// Runs a command, and waits for its end but for one of kNotify, which is only started. The only
/// place that starts a shell. A refused command is reported on standard error instead, and so is
/// one that is killed because its time is over. The exit status is not reported.
ShellOutcome hand_to_shell(const ShellCommand& command);

#endif
