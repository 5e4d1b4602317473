#include "autoresponder/termination.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "autoresponder/process.h"
#include "autoresponder/temporary_files.h"

namespace {

// Every signal that may be sent to a process and ends it, and is no sign of a defect in it.
constexpr int kSignals[] = {SIGTERM, SIGINT,  SIGHUP,  SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF,
                            SIGUSR1, SIGUSR2, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};

// The process group of the command that is writing to a temporary file; 0 for none. Process-wide,
// because a signal handler reads it.
std::atomic<pid_t> writer_group{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");

sigset_t termination_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kSignals) sigaddset(&set, signal);
  return set;
}

// Ends the writers and waits for the last of them; orphans among them come to us.
void end_writers() {
  const pid_t group = writer_group;
  if (group == 0) return;
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  kill(-group, SIGKILL);
  while (waitpid(-group, nullptr, 0) > 0 || errno == EINTR) {
  }
}

// The signal that is raised here ends the process as soon as the handler returns. Until then it and
// the others wait, however often they are sent.
void die_by(int signal) {
  ::signal(signal, SIG_DFL);
  raise(signal);
}

void end_run_by(int signal) {
  end_writers();
  remove_temporary_files();
  die_by(signal);
}

void end_writers_by(int signal) {
  end_writers();
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

// Keeps the termination signals waiting for as long as it lives.
class SignalBlock {
 public:
  SignalBlock() {
    const sigset_t set = termination_signals();
    sigprocmask(SIG_BLOCK, &set, &before_);
  }
  ~SignalBlock() { Release(); }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;

  void Release() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

bool is_handled(int signal) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  return action.sa_handler == end_run_by || action.sa_handler == end_writers_by;
}

void limit_file_size(uint64_t bytes) {
  rlimit size{bytes, bytes};
  struct rlimit now {};
  if (getrlimit(RLIMIT_FSIZE, &now) == 0) size.rlim_cur = std::min(size.rlim_cur, now.rlim_cur);
  size.rlim_max = size.rlim_cur;
  setrlimit(RLIMIT_FSIZE, &size);
  const rlimit none{0, 0};  // what is cut off there must not leave a core file
  setrlimit(RLIMIT_CORE, &none);
}

[[noreturn]] void be_writer(const std::function<void()>& write, const WriterLimits& limits,
                            const SignalBlock& block) {
  setpgid(0, 0);
  for (const int signal : kSignals) {
    if (is_handled(signal)) ::signal(signal, SIG_DFL);
  }
  block.Release();
  limit_file_size(limits.file_size);
  write();
  _exit(0);
}

pid_t start_writer(const std::function<void()>& write, const WriterLimits& limits) {
  const SignalBlock block;
  const pid_t writer = fork();
  if (writer == 0) be_writer(write, limits, block);
  if (writer > 0) {
    setpgid(writer, writer);
    writer_group = writer;
  }
  return writer;
}

// Holds SIGCHLD back, so that one that comes before it is waited for is not lost.
class ChildSignal {
 public:
  ChildSignal() {
    sigemptyset(&set_);
    sigaddset(&set_, SIGCHLD);
    sigprocmask(SIG_BLOCK, &set_, &before_);
  }
  ~ChildSignal() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  ChildSignal(const ChildSignal&) = delete;
  ChildSignal& operator=(const ChildSignal&) = delete;

  void WaitUntil(std::chrono::steady_clock::time_point end) const {
    using std::chrono::nanoseconds;
    const nanoseconds left = end - std::chrono::steady_clock::now();
    if (left <= nanoseconds::zero()) return;
    const timespec timeout{static_cast<time_t>(left.count() / 1000000000),
                           left.count() % 1000000000};
    sigtimedwait(&set_, nullptr, &timeout);
  }

 private:
  sigset_t set_{};
  sigset_t before_{};
};

// Whether the process ended before its time was over.
bool ended_in_time(pid_t writer, const ChildSignal& child, std::chrono::seconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (;;) {
    if (waitpid(writer, nullptr, WNOHANG) != 0) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    child.WaitUntil(end);
  }
}

}  // namespace

void remove_files_on_termination() {
  atexit(remove_temporary_files);
  handle_termination_signals(end_run_by);
}

void end_writers_on_termination() {
  handle_termination_signals(end_writers_by);
}

bool run_file_writer(const std::function<void()>& write, const WriterLimits& limits) {
  const ChildSignal child;
  const pid_t writer = start_writer(write, limits);
  if (writer < 0) return true;
  const bool in_time = ended_in_time(writer, child, limits.time);
  if (!in_time) end_writers();
  writer_group = 0;
  return in_time;
}
