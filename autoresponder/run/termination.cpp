#include "autoresponder/run/termination.h"

#include <csignal>
#include <cstdlib>

#include "autoresponder/reply/file_writer.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/signals.h"

namespace {

// Every signal that may be sent to a process and ends it, and is no sign of a defect in it.
constexpr int kSignals[] = {SIGTERM, SIGINT,  SIGHUP,  SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF,
                            SIGUSR1, SIGUSR2, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};

sigset_t termination_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kSignals) sigaddset(&set, signal);
  return set;
}

// The signal that is raised here ends the process as soon as the handler returns. Until then it and
// the others wait, however often they are sent.
void die_by(int signal) {
  ::signal(signal, SIG_DFL);
  raise(signal);
}

void end_run_by(int signal) {
  end_file_writer();
  remove_temporary_files();
  die_by(signal);
}

void end_writer_by(int signal) {
  end_file_writer();
  die_by(signal);
}

void handle_termination_signals(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_mask = termination_signals();
  for (const int signal : kSignals) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != ignore_signal) sigaction(signal, &action, nullptr);
  }
}

}  // namespace

void remove_files_on_termination() {
  atexit(remove_temporary_files);
  handle_termination_signals(end_run_by);
}

void end_writer_on_termination() {
  handle_termination_signals(end_writer_by);
}
