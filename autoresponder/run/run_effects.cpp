#include "autoresponder/run/run_effects.h"

#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/reader/reader_process.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/diagnose.h"
#include "support/idn.h"

bool RunEffects::Count(const ResponderRule& rule) {
  forget_reader();  // it has hung up; commands must not find it
  return allows_reply(consult_limiter(database_, message_, rule, LimiterMode::kCount, switches_));
}

// Kept: what the disk took of the message is forwarded. The repair of whole mails forwards all of
// it or nothing.
void RunEffects::Forward(const std::string& /*addresses*/, const ShellCommand& command) {
  if (switches_.repairs && !spool_.IsWhole()) {
    diagnose({"autoresponder: not forwarded, because the message is not whole in ", spool_.path()});
    return;
  }
  if (!spool_.IsNamed()) {
    diagnose({"autoresponder: not forwarded, because its file was removed: ", spool_.path()});
    return;
  }
  hand_to_shell(command, ShellUse::kRun);
}

void RunEffects::Withhold(const std::string& objection) {
  diagnose({"autoresponder: no reply, courtesy: ", objection});
}

ResponseFile RunEffects::CreateResponseFile() {
  return create_response_file();
}

void RunEffects::Notify(const Notification& notification, const ResponderRule& rule,
                        const std::vector<std::string>& missing) {
  send_notification(notification, rule.reply_to, message_, missing, switches_);
}

std::string RunEffects::AsciiForm(const std::string& address) {
  return idn_toascii_string(address.c_str());
}

bool RunEffects::Append(const ShellCommand& command, const WriterLimits& limits) {
  return hand_to_shell(command, ShellUse::kWriteFile, limits).succeeded;
}

void RunEffects::LeaveUnsent(const ResponseFile& reply, Unsent why) {
  switch (why) {
    case Unsent::kUnwritable:
      diagnose({"autoresponder: Unable to write the reply to ", reply.path()});
      break;
    case Unsent::kNotWhole:
      diagnose({"autoresponder: not sent, because its attachments are not whole: ", reply.path()});
      break;
    case Unsent::kFileReplaced:
      diagnose({"autoresponder: not sent, because its file was removed: ", reply.path()});
      break;
  }
  reply.Remove();
}

void RunEffects::Deliver(const ShellCommand& command, const ResponseFile& reply) {
  hand_to_shell(command, ShellUse::kRun);
  reply.Remove();
}
