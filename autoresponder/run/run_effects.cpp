#include "autoresponder/run/run_effects.h"

#include "autoresponder/reader/reader_process.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/text.h"
#include "support/idn.h"

LimiterFacts RunEffects::AskLimiter(PanelDatabase& database, const ResponderRule& rule) {
  return check_reply_frequency(database, message_, rule, LimiterMode::kCount, switches_);
}

ResponseFile RunEffects::CreateResponseFile() {
  return create_response_file();
}

std::string RunEffects::AsciiForm(const std::string& address) {
  return idn_toascii_string(address.c_str());
}

// Kept: a message that could be spooled only in part is forwarded in part. The repair of whole
// copies does not forward it.
bool RunEffects::CanForward() const {
  if (switches_.repairs.whole_copies && !spool_.IsWhole()) {
    diagnose({"autoresponder: not forwarded, because the message is not whole in ", spool_.path()});
    return false;
  }
  if (!spool_.IsNamed()) {
    diagnose({"autoresponder: not forwarded, because its file was removed: ", spool_.path()});
    return false;
  }
  return true;
}

bool RunEffects::Run(const ShellCommand& command) {
  forget_reader();  // it has answered; none of it may be left when commands run
  if (command.purpose() == Purpose::kForward && !CanForward()) return false;
  if (command.purpose() == Purpose::kNotify) {
    send_notification(command);
    return true;
  }
  return hand_to_shell(command).succeeded;
}
