#include "autoresponder/reply/file_writer.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/base/signals.h"

namespace {

// The process group of the command that is writing to a temporary file; 0 for none. Process-wide,
// because a signal handler reads it.
std::atomic<pid_t> writer_group{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");

void limit_file_size(uint64_t bytes) {
  rlimit size{bytes, bytes};
  struct rlimit now {};
  if (getrlimit(RLIMIT_FSIZE, &now) == 0) size.rlim_cur = std::min(size.rlim_cur, now.rlim_cur);
  size.rlim_max = size.rlim_cur;
  setrlimit(RLIMIT_FSIZE, &size);
  const rlimit none{0, 0};  // exceeding the limit raises SIGXFSZ, which dumps core
  setrlimit(RLIMIT_CORE, &none);
}

[[noreturn]] void be_writer(const std::function<bool()>& write, const WriterLimits& limits) {
  setsid();  // its own process group, and no terminal that could stop a background process
  forget_signal_handlers();
  limit_file_size(limits.file_size);
  _exit(write() ? 0 : 1);
}

pid_t start_writer(const std::function<bool()>& write, const WriterLimits& limits) {
  const SignalBlock block;
  const pid_t writer = fork();
  if (writer == 0) be_writer(write, limits);
  if (writer > 0) writer_group = writer;
  return writer;
}

void await_child(const SignalBlock& child, std::chrono::steady_clock::duration time) {
  const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
  const timespec timeout{static_cast<time_t>(left / 1000000000), left % 1000000000};
  sigtimedwait(&child.blocked(), nullptr, &timeout);
}

// Waits for the end of the process, at most for `time`. Leaves it a zombie, so that its number is
// not reused.
WriterEnd end_of(pid_t writer, const SignalBlock& child, std::chrono::seconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (;;) {
    siginfo_t ended{};
    const int result =
        waitid(P_PID, static_cast<id_t>(writer), &ended, WEXITED | WNOHANG | WNOWAIT);
    if (result != 0) return WriterEnd::kFailed;
    const bool succeeded = ended.si_code == CLD_EXITED && ended.si_status == 0;
    if (ended.si_pid != 0) return succeeded ? WriterEnd::kSucceeded : WriterEnd::kFailed;
    const auto left = end - std::chrono::steady_clock::now();
    if (left <= left.zero()) return WriterEnd::kTimeOver;
    await_child(child, left);
  }
}

}  // namespace

void end_file_writer() {
  const pid_t group = writer_group;
  if (group == 0) return;
  kill(group, SIGKILL);  // the process may not have called setsid yet
  kill(-group, SIGKILL);
  TEMP_FAILURE_RETRY(waitpid(group, nullptr, 0));
  while (waitpid(-group, nullptr, 0) > 0 || errno == EINTR) {
  }
}

WriterEnd run_file_writer(const std::function<bool()>& write, const WriterLimits& limits) {
  const SignalBlock child(SIGCHLD);           // one that arrives before the wait begins is not lost
  prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);  // to inherit the writer's orphans and wait for them
  const pid_t writer = start_writer(write, limits);
  const WriterEnd end = writer < 0 ? WriterEnd::kFailed : end_of(writer, child, limits.time);
  {
    const SignalBlock block;  // a handler must not meet a number that is free again
    end_file_writer();        // with what a killed shell left running
    writer_group = 0;
  }
  prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0);
  return end;
}
