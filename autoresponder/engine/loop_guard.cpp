#include "autoresponder/engine/loop_guard.h"

#include <string>

namespace {

// Kept: only these three spellings, anywhere in the address.
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

// Kept: the misspelling "equial"; and the texts say From even if the sender is from Reply-To.
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
