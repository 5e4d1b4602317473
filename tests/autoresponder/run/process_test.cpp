#include "autoresponder/run/process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

// In a process of its own: a test changes what it cannot undo.
void expect(bool is_true, const char* what) {
  if (is_true) return;
  dprintf(STDERR_FILENO, "wrong: %s (errno %d)\n", what, errno);
  _exit(1);
}

void (*handler_of(int signal))(int) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  return action.sa_handler;
}

void ordinary_process() {
  for (const int signal : {SIGHUP, SIGUSR1, SIGRTMAX, SIGCHLD, SIGTTIN, SIGTTOU}) {
    ::signal(signal, SIG_IGN);
  }
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, nullptr);
  const itimerval soon{{0, 0}, {100, 0}};
  for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF})
    setitimer(timer, &soon, nullptr);
  close(STDIN_FILENO);
  const int only_for_reading = open("/dev/zero", O_RDONLY);  // becomes 0
  dup2(only_for_reading, STDOUT_FILENO);
  close(STDIN_FILENO);
  setenv("KEM_TEST", "kept", 1);
  const int next_descriptor = fcntl(STDERR_FILENO, F_DUPFD, STDERR_FILENO + 1);
  close(next_descriptor);
  errno = EILSEQ;
  prepare_process();
  expect(errno == EILSEQ, "errno");
  expect(fcntl(STDIN_FILENO, F_GETFD) >= 0, "standard input is open");
  expect(write(STDOUT_FILENO, "x", 1) == 1, "standard output can be written to");
  expect(fcntl(next_descriptor, F_GETFD) < 0, "no descriptor more");
  for (const int signal : {SIGHUP, SIGUSR1, SIGRTMAX}) {
    expect(handler_of(signal) != SIG_IGN && handler_of(signal) != SIG_DFL, "an empty handler");
    raise(signal);
  }
  for (const int signal : {SIGCHLD, SIGTTIN, SIGTTOU, SIGTERM}) {
    expect(handler_of(signal) == SIG_DFL, "the default action");
  }
  expect(handler_of(SIGPIPE) != SIG_DFL && handler_of(SIGXFSZ) != SIG_DFL, "failing writes");
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int signal = 1; signal < SIGRTMAX; ++signal)
    expect(sigismember(&blocked, signal) != 1, "blocked");
  for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    itimerval left{};
    getitimer(timer, &left);
    expect(left.it_value.tv_sec == 0, "a timer runs");
  }
  expect(getenv("KEM_TEST") != nullptr, "the environment of one's own");
  forget_delivery();
  _exit(7);
}

TEST(AProcessDeathTest, IsMadeFitForARun) {
  EXPECT_EXIT(ordinary_process(), testing::ExitedWithCode(7), "");
}

rlimit limit_of(decltype(RLIMIT_CPU) resource) {
  rlimit limit{};
  getrlimit(resource, &limit);
  return limit;
}

void lower(decltype(RLIMIT_CPU) resource, rlim_t value) {
  const rlimit limit{value, limit_of(resource).rlim_max};
  expect(setrlimit(resource, &limit) == 0, "a lower limit");
}

// As if a user of the deliveries' group had started the setuid program.
void process_of_another_user() {
  constexpr rlim_t kMebibyte = rlim_t{1} << 20;
  setenv("RECIPIENT", "d17-info@x", 1);
  setenv("SENDER", "", 1);
  setenv("LD_PRELOAD", "secret", 1);
  const char* const secret = getenv("LD_PRELOAD");
  lower(RLIMIT_STACK, kMebibyte);
  lower(RLIMIT_FSIZE, 1000);
  lower(RLIMIT_CPU, 100);
  lower(RLIMIT_NOFILE, 32);
  lower(RLIMIT_CORE, 1000);
  umask(0);
  prctl(PR_SET_TIMERSLACK, 1000000000UL, 0, 0, 0);
  const int inherited = dup2(STDERR_FILENO, 20);
  const gid_t groups[] = {1, 2};
  expect(setgroups(2, groups) == 0, "groups");
  expect(setresuid(64000, 0, 0) == 0, "another user");
  prepare_process();
  expect(strcmp(getenv("RECIPIENT"), "d17-info@x") == 0, "RECIPIENT");
  expect(*getenv("SENDER") == '\0', "SENDER");
  expect(strcmp(getenv("PATH"), "/usr/bin:/bin:/usr/sbin:/sbin") == 0, "PATH");
  expect(getenv("LD_PRELOAD") == nullptr && *secret == '\0', "the rest of the environment");
  expect(limit_of(RLIMIT_STACK).rlim_cur == 8 * kMebibyte, "the stack");
  expect(limit_of(RLIMIT_FSIZE).rlim_cur == RLIM_INFINITY, "file sizes");
  expect(limit_of(RLIMIT_CPU).rlim_cur == RLIM_INFINITY, "processor time");
  expect(limit_of(RLIMIT_NOFILE).rlim_cur == 64, "descriptors");
  expect(limit_of(RLIMIT_CORE).rlim_max == 0, "core files");
  expect(umask(022) == 022, "the umask");
  expect(prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0) == 50000, "the timer slack");
  expect(fcntl(inherited, F_GETFD) < 0, "inherited descriptors");
  expect(getgroups(0, nullptr) == 0, "supplementary groups");
  expect(std::filesystem::current_path() == "/", "the directory");
  forget_delivery();
  expect(getenv("RECIPIENT") == nullptr && getenv("SENDER") == nullptr, "forgotten variables");
  expect(getenv("PATH") != nullptr, "PATH stays");
  allow_many_descriptors();
  const rlimit descriptors = limit_of(RLIMIT_NOFILE);
  expect(descriptors.rlim_cur > 64 && descriptors.rlim_cur == descriptors.rlim_max,
         "more descriptors");
  _exit(7);
}

TEST(AProcessDeathTest, KeepsNothingOfAnotherUser) {
  if (getuid() != 0) GTEST_SKIP() << "only root can be started by another user";
  EXPECT_EXIT(process_of_another_user(), testing::ExitedWithCode(7), "");
}

}  // namespace
