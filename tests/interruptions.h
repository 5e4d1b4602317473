#pragma once

#include <csignal>
#include <sys/time.h>

/// Interrupts system calls every now and then, which are then not started again.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    Every(10000);
  }
  ~Interruptions() { Every(0); }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

 private:
  static void Every(suseconds_t microseconds) {
    const itimerval times{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &times, nullptr);
  }
};
