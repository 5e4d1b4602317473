#include "explain/recorded_effects.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "autoresponder/reply/shell.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/descriptors.h"
#include "support/idn.h"

namespace {

// Why the run would not run the command; nothing if it would.
std::optional<NotRun> reason_against(const ShellCommand& command) {
  if (command.refused()) return command.refused()->why;
  if (is_too_long(command)) return NotRun::kTooLong;
  const bool needs_sendmail = command.purpose() != Purpose::kAttach;
  if (needs_sendmail && access(sendmail_path().c_str(), X_OK) != 0) return NotRun::kNoProgram;
  return std::nullopt;
}

// The name "/proc/self/fd/N" also works in commands, which inherit the descriptor. Extra slashes
// make it as long as that of the run's file, so that the lengths of commands match.
std::string path_in_memory(int descriptor) {
  const std::string number = std::to_string(descriptor);
  const std::string directory = "/proc/self/fd";
  const size_t length = strlen(response_template());
  return directory + std::string(length - directory.size() - number.size(), '/') + number;
}

}  // namespace

RecordedEffects::RecordedEffects(const IncomingMessage& message, const Switches& switches)
    : message_(message),
      switches_(switches),
      reply_(memfd_create("reply", 0)),
      reply_path_(path_in_memory(reply_.number())) {}

// The command line as in the run: with the name of the run's response file instead of ours.
std::string RecordedEffects::LineOfRun(std::string line) const {
  for (size_t at = 0; (at = line.find(reply_path_, at)) != std::string::npos;) {
    line.replace(at, reply_path_.size(), response_template());
  }
  return line;
}

LimiterFacts RecordedEffects::AskLimiter(PanelDatabase& database, const ResponderRule& rule) {
  return check_reply_frequency(database, message_, rule, LimiterMode::kLook, switches_);
}

ResponseFile RecordedEffects::CreateResponseFile() {
  return {fcntl(reply_.number(), F_DUPFD_CLOEXEC, 0), reply_path_, /*is_in_memory=*/true};
}

std::string RecordedEffects::AsciiForm(const std::string& address) {
  const OwnedText ascii(idn_toascii(address.c_str()));
  if (!ascii) throw NotAscii();
  return ascii.get();
}

bool RecordedEffects::Run(const ShellCommand& command) {
  commands_.push_back({command.purpose(), LineOfRun(command.line()), reason_against(command)});
  return command.purpose() != Purpose::kAttach || hand_to_shell(command).succeeded;
}

MailText RecordedEffects::Mail(bool is_whole) const {
  return {text_up_to("\n\n", reply_.number()), is_whole ? text_up_to("", reply_.number()) : ""};
}
