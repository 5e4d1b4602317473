#pragma once

#include <csignal>
#include <initializer_list>

/// An empty signal handler. Unlike SIG_IGN it is not inherited: commands start with the default
/// action.
inline void ignore_signal(int /*signal*/) {}

/// Lets writes fail that would otherwise end the process: into a pipe that nobody reads (SIGPIPE),
/// and beyond a limit on file sizes (SIGXFSZ). Call it again after connecting: the client library
/// ignores SIGPIPE by SIG_IGN.
inline void survive_failing_writes() {
  struct sigaction action {};
  action.sa_handler = ignore_signal;
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaction(signal, &action, nullptr);
}

/// Resets all handled signals to their defaults, except those handled by `kept`, and unblocks all
/// signals. For a child process, in which its parent's handlers must not act.
inline void forget_signal_handlers(void (*kept)(int) = SIG_IGN) {
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0) continue;
    const bool stays = action.sa_handler == SIG_IGN || action.sa_handler == kept;
    if (!stays && action.sa_handler != SIG_DFL) ::signal(signal, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Blocks one signal, or all, during its lifetime.
class SignalBlock {
 public:
  SignalBlock() {
    sigfillset(&blocked_);
    Begin();
  }
  explicit SignalBlock(int signal) {
    sigemptyset(&blocked_);
    sigaddset(&blocked_, signal);
    Begin();
  }
  ~SignalBlock() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;

  const sigset_t& blocked() const { return blocked_; }

 private:
  void Begin() { sigprocmask(SIG_BLOCK, &blocked_, &before_); }

  sigset_t blocked_{};
  sigset_t before_{};
};
