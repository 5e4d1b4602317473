#ifndef SUPPORT_BASE_SIGNALS_H
#define SUPPORT_BASE_SIGNALS_H

#include <csignal>
#include <initializer_list>

/// The handler of signals that do nothing to this process. Unlike SIG_IGN it is not inherited:
/// commands start with the default action.
inline void ignore_signal(int /*signal*/) {}

/// Lets writes fail that would otherwise end the process: into a pipe that nobody reads, and beyond
/// a limit on the size of files. Call again after connecting: the client library ignores SIGPIPE by
/// SIG_IGN.
inline void survive_failing_writes() {
  struct sigaction action {};
  action.sa_handler = ignore_signal;
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaction(signal, &action, nullptr);
}

#endif
