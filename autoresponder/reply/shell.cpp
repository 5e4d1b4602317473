#include "autoresponder/reply/shell.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "autoresponder/reply/direct_run.h"
#include "support/base/owned.h"

namespace {

// The first descriptor number under which a command inherits a file. Fixed, so that the command
// line does not depend on what else is open; above the numbers that the shell uses itself.
constexpr int kFirstInherited = 32;

// Gives the descriptors the numbers under which a command inherits them; false if that fails. First
// copies all of them above these numbers, so that none is replaced before it is copied.
bool pass_on(const std::vector<int>& descriptors) {
  const int end = kFirstInherited + static_cast<int>(descriptors.size());
  std::vector<int> copies;
  copies.reserve(descriptors.size());
  for (const int descriptor : descriptors)
    copies.push_back(fcntl(descriptor, F_DUPFD_CLOEXEC, end));
  int number = kFirstInherited;
  return std::all_of(copies.begin(), copies.end(),
                     [&number](int copy) { return dup2(copy, number++) >= 0; });
}

bool run(const std::string& line) {
  return system(line.c_str()) == 0;
}

// Runs a command whose result does not count, without a shell where that has nothing to do.
void run_plainly(const ShellCommand& command) {
  auto plain = plain_command(command.line());
  if (!plain || is_too_long(command) || !run_directly(std::move(*plain))) run(command.line());
}

// Copies the file `held` to standard output; gives up if nobody reads that.
void write_to_standard_output(const OwnedDescriptor& held) {
  constexpr int kPatience = 60000;  // milliseconds
  char block[PIPE_BUF];
  ssize_t length = 0;
  for (off_t at = 0; (length = pread(held.number(), block, sizeof block, at)) > 0; at += length) {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    if (poll(&output, 1, kPatience) <= 0) return;
    if (write(STDOUT_FILENO, block, static_cast<size_t>(length)) != length) return;
  }
}

// Whether the command, which writes to a temporary file, ended in time with exit status 0. Its
// standard output is held in memory until then: if it wrote to ours, SIGPIPE could kill it.
bool run_as_writer(const ShellCommand& command) {
  const OwnedDescriptor output(memfd_create("output", MFD_CLOEXEC));
  const WriterEnd end = run_file_writer(
      [&command, &output] {
        dup2(output.number(), STDOUT_FILENO);
        return pass_on(command.inherited()) && run(command.line());
      },
      command.limits);
  write_to_standard_output(output);
  if (end == WriterEnd::kTimeOver) {
    diagnose({"autoresponder: ended a command that took too long: ", command.line()});
  }
  return end == WriterEnd::kSucceeded;
}

void report_refusal(const RefusedValue& refused) {
  if (refused.why == NotRun::kOption) {
    report_option(refused.value);
  } else if (refused.why == NotRun::kNewline) {
    diagnose({"autoresponder: refused to run a command with a newline in: ",
              in_one_line(refused.value)});
  } else {
    diagnose({"autoresponder: refused to run a command with a quote in: ", refused.value});
  }
}

}  // namespace

std::string without_quotes(std::string_view address) {
  const size_t local_part = std::min(address.rfind('@'), address.size());
  std::string result;
  bool is_quoted = false;
  for (size_t i = 0; i < local_part; ++i) {
    const bool is_escape = is_quoted && address[i] == '\\' && i + 1 < local_part;
    if (is_escape) {
      result += address[++i];
    } else if (address[i] == '"') {
      is_quoted = !is_quoted;
    } else {
      result += address[i];
    }
  }
  return result.append(address.substr(local_part));
}

ShellCommand& ShellCommand::Text(std::string_view text) {
  line_ += text;
  return *this;
}

void ShellCommand::Refuse(NotRun why, std::string_view value) {
  if (!refused_) refused_ = {why, std::string(value)};
}

// Kept: a command with a single quote in a value is refused. The repair of quotes writes '\'' for
// it: this ends the quotes, adds an escaped one, and begins new ones.
void ShellCommand::Add(std::string_view value) {
  if (!repairs_.quotes) {
    if (value.find('\'') != std::string_view::npos) Refuse(NotRun::kQuote, value);
    line_ += value;
    return;
  }
  for (const char byte : value) {
    if (byte == '\'') line_ += "'\\'";
    line_ += byte;
  }
}

ShellCommand& ShellCommand::QuotedLines(std::initializer_list<std::string_view> values) {
  line_ += '\'';
  for (const std::string_view value : values) Add(value);
  line_ += '\'';
  return *this;
}

ShellCommand& ShellCommand::Quoted(std::initializer_list<std::string_view> values) {
  for (const std::string_view value : values) {
    const bool has_newline = value.find('\n') != std::string_view::npos;
    if (repairs_.newlines && has_newline) Refuse(NotRun::kNewline, value);
  }
  return QuotedLines(values);
}

// Kept: an address that begins with "-" reaches sendmail, which reads it as an option. The repair
// of options does not hand it over.
ShellCommand& ShellCommand::Address(std::string_view address) {
  if (repairs_.options && is_option(address)) Refuse(NotRun::kOption, address);
  return Quoted(address);
}

std::string ShellCommand::Inherit(int descriptor) {
  inherited_.push_back(descriptor);
  const int number = kFirstInherited + static_cast<int>(inherited_.size()) - 1;
  return "/proc/self/fd/" + std::to_string(number);
}

bool is_too_long(const ShellCommand& command) {
  return command.line().size() >= 32 * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

ShellOutcome hand_to_shell(const ShellCommand& command) {
  ShellOutcome outcome;
  if (command.refused()) {
    report_refusal(*command.refused());
    outcome.refused = true;
    return outcome;
  }
  switch (command.purpose()) {
    case Purpose::kForward:
    case Purpose::kReply:
      run_plainly(command);
      break;
    case Purpose::kAttach:
      outcome.succeeded = run_as_writer(command);
      break;
    case Purpose::kNotify:
      outcome.pipe = popen(command.line().c_str(), "w");
      break;
  }
  return outcome;
}
