#include "explain/recorded_effects.h"

#include <unistd.h>

#include "autoresponder/reply/sendmail.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/owned.h"
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

}  // namespace

// The command line as in the run: with the name of the run's response file instead of ours.
std::string RecordedEffects::LineOfRun(std::string line) const {
  const std::string name = memory_.File(response_template()).path();
  for (size_t at = 0; (at = line.find(name, at)) != std::string::npos; at += name.size()) {
    line.replace(at, name.size(), response_template());
  }
  return line;
}

LimiterFacts RecordedEffects::AskLimiter(PanelDatabase& database, const ResponderRule& rule) {
  return check_reply_frequency(database, message_, rule, LimiterMode::kLook, switches_);
}

ResponseFile RecordedEffects::CreateResponseFile() {
  return memory_.File(response_template());
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
  return {memory_.TextUpTo("\n\n"), is_whole ? memory_.TextUpTo("") : ""};
}
