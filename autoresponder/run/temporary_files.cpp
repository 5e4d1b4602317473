#include "autoresponder/run/temporary_files.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>

#include "autoresponder/reader/reader_process.h"
#include "autoresponder/reply/file_writer.h"
#include "support/base/signals.h"

#define SPOOL_TEMPLATE "/tmp/kem-autoresponder-XXXXXX"
#define RESPONSE_TEMPLATE "/tmp/kem-response-uu-XXXXXX"

// The names of the two files; templates until the files are created. Process-wide, because a signal
// handler removes the files.
char spool_file_path[] = SPOOL_TEMPLATE;
char response_file_path[] = RESPONSE_TEMPLATE;

namespace {

// Whether the signal by default ends a process, without being the sign of a crash such as SIGSEGV.
// SIGPIPE and SIGXFSZ are left out: the run survives them.
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

// Dies by the signal. Process 1 of a PID namespace (a container) cannot: it exits with the status
// that a shell gives for a killed command.
[[noreturn]] void die_by(int signal) {
  constexpr int kFirstStatus = 128;
  ::signal(signal, SIG_DFL);
  raise(signal);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
  _exit(kFirstStatus + signal);
}

// At exit: fatal reports of the panel's library call `exit`.
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

const char* spool_template() {
  return SPOOL_TEMPLATE;
}

const char* response_template() {
  return RESPONSE_TEMPLATE;
}

SpoolFile create_spool_file() {
  const int descriptor = mkostemp(spool_file_path, O_CLOEXEC);
  return {descriptor, spool_file_path};
}

ResponseFile create_response_file() {
  memcpy(response_file_path, RESPONSE_TEMPLATE, sizeof response_file_path);
  const int descriptor = mkostemp(response_file_path, O_CLOEXEC);
  return {descriptor, response_file_path};
}

void remove_temporary_files() {
  unlink(spool_file_path);
  unlink(response_file_path);
}

void cleanup_and_exit() {
  end_run();
  exit(0);
}

void remove_files_on_termination() {
  atexit(end_run);
  handle_termination_signals(end_run_by);
}

void end_children_on_termination() {
  handle_termination_signals(end_children_by);
}
