#include "autoresponder/run/termination.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <unistd.h>

#include "autoresponder/reader/reader_process.h"
#include "autoresponder/reply/file_writer.h"
#include "autoresponder/run/temporary_files.h"
#include "support/base/signals.h"

namespace {

// Whether the signal may be sent to a process, ends one that does not expect it, and is no sign of
// a defect in it.
bool is_termination(int signal) {
  constexpr int kNamed[] = {SIGTERM, SIGINT,  SIGHUP,  SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF,
                            SIGUSR1, SIGUSR2, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};
  const bool is_named = std::find(std::begin(kNamed), std::end(kNamed), signal) != std::end(kNamed);
  return is_named || signal >= SIGRTMIN;
}

template <class Visit>
void for_each_termination(const Visit& visit) {
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (is_termination(signal)) visit(signal);
  }
}

// The signal ends the process, unless that is the first one of a namespace of processes, which the
// kernel keeps from dying by its own signals.
[[noreturn]] void die_by(int signal) {
  constexpr int kFirstStatus = 128;  // as a shell gives it
  ::signal(signal, SIG_DFL);
  raise(signal);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  _exit(kFirstStatus + signal);
}

// After a fatal report of the library.
void end_run() {
  forget_reader();
  remove_temporary_files();
}

void end_run_by(int signal) {
  end_reader();
  end_file_writer();
  remove_temporary_files();
  die_by(signal);
}

void end_children_by(int signal) {
  end_reader();
  end_file_writer();
  die_by(signal);
}

void handle_termination_signals(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  for_each_termination([&action](int signal) { sigaddset(&action.sa_mask, signal); });
  for_each_termination([&action](int signal) {
    struct sigaction before {};
    sigaction(signal, &action, &before);
    if (before.sa_handler == ignore_signal) sigaction(signal, &before, nullptr);
  });
}

}  // namespace

void remove_files_on_termination() {
  atexit(end_run);
  handle_termination_signals(end_run_by);
}

void end_children_on_termination() {
  handle_termination_signals(end_children_by);
}
