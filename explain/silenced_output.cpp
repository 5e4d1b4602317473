#include "explain/silenced_output.h"

#include <cstdio>
#include <fcntl.h>

SilencedOutput::SilencedOutput() : output_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
  const OwnedDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  dup2(nowhere.number(), STDOUT_FILENO);
}

SilencedOutput::~SilencedOutput() {
  fflush(stdout);
  dup2(output_.number(), STDOUT_FILENO);
}
