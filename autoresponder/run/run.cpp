#include "autoresponder/run/run.h"

#include <unistd.h>

#include "autoresponder/engine/loop_guard.h"
#include "autoresponder/engine/responder.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/run/configuration.h"
#include "autoresponder/run/incoming.h"
#include "autoresponder/run/process.h"
#include "autoresponder/run/run_effects.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/text.h"
#include "support/conf.h"
#include "support/report.h"

namespace {

// If that is not allowed, the run continues as the calling user.
void become_root() {
  [[maybe_unused]] const int user = setuid(0);
  [[maybe_unused]] const int group = setgid(0);
}

[[noreturn]] void end_run(const char* why) {
  diagnose({why});
  cleanup_and_exit();
}

void respond(const IncomingMessage& message, const SpoolFile& spool, const Switches& switches) {
  try {
    RunEffects effects(message, spool, switches);
    run_responder({message, switches, spool.path()}, effects);
  } catch (const PanelFailure& failure) {
    end_run(failure.what());
  } catch (const ReaderFailure& failure) {
    diagnose({failure.what()});
    end_run("Abnormal exit.");
  }
}

}  // namespace

void run(const char* program) {
  prog_name = program;
  prepare_process();
  load_conf_paths();
  const Switches switches = read_switches();
  hide_configuration();
  if (switches.repairs.store) allow_many_descriptors();
  IncomingMessage message;
  become_root();
  remove_files_on_termination();
  SpoolFile spool = create_spool_file();
  if (read_incoming_message(spool, switches, message) != 0) end_run("Abnormal exit.");
  forget_delivery();
  const LoopGuard guard = loop_guard(message);
  if (guard != LoopGuard::kPassed) end_run(loop_guard_diagnostic(guard));
  respond(message, spool, switches);
  cleanup_and_exit();
}
