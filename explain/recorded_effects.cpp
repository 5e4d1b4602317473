#include "explain/recorded_effects.h"

#include <unistd.h>

#include "autoresponder/reply/sendmail.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/owned.h"
#include "support/idn.h"

namespace {

// Whether it is a command for the mail server's sendmail, which cannot be started.
bool lacks_program(const ShellCommand& command) {
  const std::string sendmail = sendmail_path();
  return command.line().rfind(sendmail + " ", 0) == 0 && access(sendmail.c_str(), X_OK) != 0;
}

CommandFate fate_of(Refusal refusal) {
  switch (refusal) {
    case Refusal::kNewline:
      return CommandFate::kRefusedNewline;
    case Refusal::kOption:
      return CommandFate::kRefusedOption;
    case Refusal::kQuote:
      break;
  }
  return CommandFate::kRefused;
}

CommandFate fate_of(const ShellCommand& command) {
  if (command.refused()) return fate_of(command.refused()->why);
  if (is_too_long(command)) return CommandFate::kTooLong;
  return lacks_program(command) ? CommandFate::kNoProgram : CommandFate::kRuns;
}

}  // namespace

// The command as the run would start it: with the name of its temporary file for the reply.
std::string RecordedEffects::LineOfRun(std::string line) const {
  const std::string name = memory_.File(response_template()).path();
  for (size_t at = 0; (at = line.find(name, at)) != std::string::npos; at += name.size()) {
    line.replace(at, name.size(), response_template());
  }
  return line;
}

bool RecordedEffects::Count(const ResponderRule& rule) {
  facts_.limiter = consult_limiter(database_, message_, rule, LimiterMode::kLook, switches_);
  return allows_reply(*facts_.limiter);
}

std::string RecordedEffects::SpoolPath() {
  return spool_template();
}

void RecordedEffects::Forward(const std::string& addresses, const ShellCommand& command) {
  facts_.forwarding = addresses;
  Add("forward", command);
}

void RecordedEffects::Withhold(const std::string& objection) {
  facts_.objection = objection;
}

ResponseFile RecordedEffects::CreateResponseFile() {
  return memory_.File(response_template());
}

void RecordedEffects::Attachments(const AttachmentList& attachments) {
  facts_.attachments = attachments;
  for (Attachment& attachment : facts_.attachments.found) attachment.opened = nullptr;
}

void RecordedEffects::Notify(const Notification& notification, const ResponderRule& /*rule*/,
                             const std::vector<std::string>& /*missing*/) {
  facts_.notification = notification;
  Add("notify", notification_command(notification, switches_));
}

std::string RecordedEffects::AsciiForm(const std::string& address) {
  const OwnedText ascii(idn_toascii(address.c_str()));
  if (!ascii) throw NotAscii();
  return ascii.get();
}

bool RecordedEffects::Append(const ShellCommand& command, const WriterLimits& limits) {
  const bool succeeded = hand_to_shell(command, ShellUse::kWriteFile, limits).succeeded;
  Add("attach", command);
  return succeeded;
}

void RecordedEffects::LeaveUnsent(const ResponseFile& /*reply*/, Unsent why) {
  if (why != Unsent::kNotWhole) {
    throw CannotTell(Reason::kReplyNotBuilt, "Unable to build the reply in memory.");
  }
  facts_.is_left_unsent = true;
}

void RecordedEffects::Built(const BuiltReply& built, const ResponseFile& /*reply*/) {
  ReplyFacts& reply = facts_.reply.emplace();
  reply.size = built.size;
  reply.limit = built.limit;
  reply.is_replaced = built.is_replaced;
  reply.subject = built.subject.Whole();
  reply.headers = memory_.TextUpTo("\n\n");
  if (whole_reply_) reply.text = memory_.TextUpTo("");
}

void RecordedEffects::Deliver(const ShellCommand& command, const ResponseFile& /*reply*/) {
  Add("reply", command);
}

void RecordedEffects::Add(const char* purpose, const ShellCommand& command) {
  facts_.commands.push_back({purpose, LineOfRun(command.line()), fate_of(command)});
}
