#include "autoresponder/process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace {

constexpr const char* kSafePath = "/usr/bin:/bin:/usr/sbin:/sbin";

void open_standard_descriptors() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDWR);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

bool started_by_another_user() {
  return getuid() != geteuid() || getgid() != getegid();
}

void reset_environment() {
  const char* const recipient = getenv("RECIPIENT");  // clearenv leaves the text where it is
  clearenv();
  setenv("PATH", kSafePath, 1);
  if (recipient != nullptr) setenv("RECIPIENT", recipient, 1);
}

}  // namespace

// Handlers and not SIG_IGN: started commands get the default actions back of themselves.
void survive_failing_writes() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaction(signal, &action, nullptr);
}

void prepare_process() {
  const int saved_errno = errno;
  open_standard_descriptors();
  if (started_by_another_user()) reset_environment();
  survive_failing_writes();
  errno = saved_errno;
}
