#include "autoresponder/run.h"

#include <string>
#include <unistd.h>

#include "autoresponder/incoming_message.h"
#include "autoresponder/intake.h"
#include "autoresponder/process.h"
#include "autoresponder/responder.h"
#include "autoresponder/temporary_files.h"
#include "autoresponder/termination.h"
#include "support/conf.h"
#include "support/diagnose.h"
#include "support/report.h"

namespace {

// A run without the privilege goes on as who it is.
void become_root() {
  [[maybe_unused]] const int user = setuid(0);
  [[maybe_unused]] const int group = setgid(0);
}

[[noreturn]] void refuse(const char* why) {
  diagnose({why});
  cleanup_and_exit();
}

// Kept: these three spellings, as substrings of the whole address, and no others.
bool is_mailer_daemon(const std::string& sender) {
  for (const char* name : {"MAILER-DAEMON", "mailer-daemon", "DrWEB-DAEMON"}) {
    if (sender.find(name) != std::string::npos) return true;
  }
  return false;
}

// Kept: the messages name From even when the sender was taken from Reply-To, and "equial".
void guard_against_loops(const IncomingMessage& message) {
  if (message.sender == message.recipient) refuse("Field From: equial field To:");
  if (is_mailer_daemon(message.sender)) refuse("Field From: contains MAILER-DAEMON");
}

}  // namespace

void run(const char* program) {
  prepare_process();
  prog_name = program;
  load_conf_paths();
  IncomingMessage message;
  become_root();
  remove_files_on_termination();
  if (read_incoming_message(message) != 0) refuse("Abnormal exit.");
  guard_against_loops(message);
  run_responder(message);
  cleanup_and_exit();
}
