#pragma once

#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/switches.h"
#include "autoresponder/reply/file_writer.h"
#include "support/base/text.h"
#include "support/conf.h"

/// The mail server's submission program.
inline std::string sendmail_path() {
  return std::string(QMAIL_ROOT_D) + "/bin/sendmail";
}

/// Whether sendmail would read the address as an option.
inline bool is_option(std::string_view address) {
  return !address.empty() && address.front() == '-';
}

/// The address without the quotes around words of its local part (RFC 5322, 3.4.1), as qmail's
/// sendmail takes it in an argument: it would quote the quotes.
std::string without_quotes(std::string_view address);

/// Reports on standard error that nothing is mailed to `address`, because it is an option.
inline void report_option(std::string_view address) {
  diagnose({"autoresponder: refused to mail to an option: ", in_one_line(std::string(address))});
}

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

/// Builds a shell command line from texts, which the shell interprets, and values in single quotes,
/// which it does not.
class ShellCommand {
 public:
  ShellCommand(Purpose purpose, const Repairs& repairs) : purpose_(purpose), repairs_(repairs) {}

  /// Adds `text` unchanged; the shell interprets it.
  ShellCommand& Text(std::string_view text);

  /// Adds the concatenated values in single quotes. The command is refused if a value holds a
  /// single quote (the repair of quotes escapes it) or, with the repair of newlines, a newline.
  ShellCommand& Quoted(std::initializer_list<std::string_view> values);
  ShellCommand& Quoted(std::string_view value) { return Quoted({value}); }

  /// Like `Quoted`, for lines that this program wrote: newlines are never refused.
  ShellCommand& QuotedLines(std::initializer_list<std::string_view> values);

  /// Like `Quoted`, for an address in an argument where sendmail looks for options. With the repair
  /// of options the command is refused if the address begins with "-".
  ShellCommand& Address(std::string_view address);

  /// Lets the command inherit `descriptor`, which must stay open until the command has run, and
  /// returns the path by which it can open the file. Only for kAttach.
  std::string Inherit(int descriptor);

  /// What the command reads from its standard input. Only for kNotify.
  std::string input;
  /// The limits within which the command has to end. Only for kAttach.
  WriterLimits limits;

  Purpose purpose() const { return purpose_; }
  const std::string& line() const { return line_; }
  /// The first value because of which the command is refused; nothing if there is none.
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

/// Whether the system cannot start the command because the line exceeds the kernel's limit on one
/// argument: 32 pages, with its NUL.
bool is_too_long(const ShellCommand& command);

/// What became of a command.
struct ShellOutcome {
  bool refused = false;
  FILE* pipe = nullptr;    ///< of kNotify: to the command's standard input, null if it failed; the
                           ///< caller closes it with `pclose`
  bool succeeded = false;  ///< of kAttach: the command ended in time, with exit status 0
};

/// Runs a command and waits for its end; one for kNotify is only started. A command that is
/// refused, or killed because its time is over, is reported on standard error; a failed one is not.
/// No other function starts a shell.
ShellOutcome hand_to_shell(const ShellCommand& command);
