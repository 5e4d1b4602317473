#include "autoresponder/engine/loop_guard.h"

#include <string>

namespace {

// Kept: these three spellings, as substrings of the whole address, and no others.
bool is_mailer_daemon(const std::string& sender) {
  for (const char* name : {"MAILER-DAEMON", "mailer-daemon", "DrWEB-DAEMON"}) {
    if (sender.find(name) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

LoopGuard loop_guard(const IncomingMessage& message) {
  if (message.sender == message.recipient) return LoopGuard::kSenderIsRecipient;
  if (is_mailer_daemon(message.sender)) return LoopGuard::kMailerDaemon;
  return LoopGuard::kPassed;
}

// Kept: "equial", and the texts name From even if the sender was taken from Reply-To.
const char* loop_guard_diagnostic(LoopGuard guard) {
  switch (guard) {
    case LoopGuard::kSenderIsRecipient:
      return "Field From: equial field To:";
    case LoopGuard::kMailerDaemon:
      return "Field From: contains MAILER-DAEMON";
    case LoopGuard::kPassed:
      break;
  }
  return "";
}
