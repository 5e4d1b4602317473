#include "autoresponder/run/process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <initializer_list>
#include <malloc.h>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "support/base/descriptors.h"
#include "support/base/signals.h"
#include "support/report.h"

namespace {

constexpr const char* kSafePath = "/usr/bin:/bin:/usr/sbin:/sbin";

// Whether nothing can be written to the descriptor: its reader has gone, or it is open only for
// reading. That is how the C library of a setuid program opens an output that the caller closed.
bool is_broken_output(int descriptor) {
  pollfd output{descriptor, POLLOUT, 0};
  poll(&output, 1, 0);
  const bool has_no_reader = (output.revents & (POLLERR | POLLHUP)) != 0;
  return has_no_reader || (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
}

// A broken output becomes /dev/null: a command that writes to a pipe without a reader is killed.
void open_standard_descriptors() {
  int null = 0;
  while (null >= 0 && null <= STDERR_FILENO) null = open("/dev/null", O_RDWR);
  for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
    if (is_broken_output(output)) dup2(null, output);
  }
  if (null > STDERR_FILENO) close(null);
}

// Whether another user started this setuid program. First call: before the identity changes.
bool started_by_another_user() {
  static const bool answer = getuid() != geteuid() || getgid() != getegid();
  return answer;
}

// The environment variables by which the mail server describes the delivery.
constexpr const char* kDeliveryVariables[] = {"RECIPIENT", "SENDER"};

void reset_environment() {
  std::vector<std::pair<const char*, std::string>> kept = {{"PATH", kSafePath}};
  for (const char* const variable : kDeliveryVariables) {
    if (const char* const value = getenv(variable)) kept.emplace_back(variable, value);
  }
  for (char** text = environ; text != nullptr && *text != nullptr; ++text) {
    explicit_bzero(*text, strlen(*text));
  }
  clearenv();  // drops only the pointers
  for (const auto& [variable, value] : kept) setenv(variable, value.c_str(), 1);
}

struct MinimumLimit {
  rlim_t minimum;
  const char* name;
  decltype(RLIMIT_STACK) resource;
  bool is_required;
};

constexpr rlim_t kMebibyte = rlim_t{1} << 20;

constexpr MinimumLimit kMinimumLimits[] = {
    {8 * kMebibyte, "stack", RLIMIT_STACK, true},
    {RLIM_INFINITY, "file size", RLIMIT_FSIZE, true},
    {RLIM_INFINITY, "processor time", RLIMIT_CPU, true},
    {1024 * kMebibyte, "address space", RLIMIT_AS, false},
    {1024 * kMebibyte, "data", RLIMIT_DATA, false},
    {64, "descriptors", RLIMIT_NOFILE, true},
};

void raise_limit(const MinimumLimit& limit) {
  struct rlimit now {};
  if (getrlimit(limit.resource, &now) == 0 && now.rlim_cur >= limit.minimum) return;
  const rlimit raised{limit.minimum, std::max(now.rlim_max, limit.minimum)};
  if (setrlimit(limit.resource, &raised) == 0) return;
  if (limit.is_required) report_error(1, 0, "The caller's limit on %s is too low", limit.name);
  now.rlim_cur = now.rlim_max;
  setrlimit(limit.resource, &now);
}

// No core files: a command that crashes would write the run's data into one, as root.
void reset_limits() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  for (const MinimumLimit& limit : kMinimumLimits) raise_limit(limit);
}

void leave_caller() {
  constexpr unsigned long kDefaultSlack = 50000;  // the kernel's; the caller's survives exec
  // Inherited descriptors would reach commands and use up our limit.
  close_descriptors(STDERR_FILENO + 1);
  prctl(PR_SET_TIMERSLACK, kDefaultSlack, 0, 0, 0);
  reset_environment();
  reset_limits();
  [[maybe_unused]] const int groups = setgroups(0, nullptr);
  [[maybe_unused]] const int directory = chdir("/");
  umask(022);
}

// The caller's timers survive exec; their signals would end the run.
void stop_timers() {
  const itimerval none{};
  for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    setitimer(timer, &none, nullptr);
  }
}

// Gives a signal that the caller ignored an empty handler, or its default action in two cases:
// while SIGCHLD is ignored, nobody learns how a command ended; and a handled SIGTTIN or SIGTTOU
// restarts the read or write of the terminal that raises it again, for ever.
void reset_signal(int signal) {
  struct sigaction action {};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) return;
  const bool is_default = signal == SIGCHLD || signal == SIGTTIN || signal == SIGTTOU;
  action.sa_handler = is_default ? SIG_DFL : ignore_signal;
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

void reset_signals() {
  for (int signal = 1; signal <= SIGRTMAX; ++signal) reset_signal(signal);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

void prepare_process() {
  const int saved_errno = errno;
  // A fixed threshold: glibc raises its own when a large block is freed, and then keeps such
  // blocks.
  mallopt(M_MMAP_THRESHOLD, 256 << 10);
  open_standard_descriptors();
  stop_timers();
  reset_signals();
  survive_failing_writes();
  if (started_by_another_user()) leave_caller();
  errno = saved_errno;
}

void forget_delivery() {
  if (!started_by_another_user()) return;
  for (const char* variable : kDeliveryVariables) unsetenv(variable);
}

void allow_many_descriptors() {
  struct rlimit limit {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}
