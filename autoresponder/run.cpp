#include "autoresponder/run.h"

#include <unistd.h>

#include "autoresponder/incoming_message.h"
#include "autoresponder/intake.h"
#include "autoresponder/loop_guard.h"
#include "autoresponder/process.h"
#include "autoresponder/responder.h"
#include "autoresponder/temporary_files.h"
#include "autoresponder/termination.h"
#include "support/base/diagnose.h"
#include "support/conf.h"
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

}  // namespace

void run(const char* program) {
  prog_name = program;
  prepare_process();
  load_conf_paths();
  IncomingMessage message;
  become_root();
  remove_files_on_termination();
  if (read_incoming_message(message) != 0) refuse("Abnormal exit.");
  forget_recipient();
  const LoopGuard guard = loop_guard(message);
  if (guard != LoopGuard::kPassed) refuse(loop_guard_diagnostic(guard));
  run_responder(message);
  cleanup_and_exit();
}
