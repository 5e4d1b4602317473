#include "explain/held_output.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>

#include "support/base/descriptors.h"

namespace {

int copy_of(int descriptor) {
  return fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

HeldOutput::HeldOutput()
    : output_(copy_of(STDOUT_FILENO)),
      errors_(copy_of(STDERR_FILENO)),
      held_errors_(memfd_create("errors", MFD_CLOEXEC)) {
  const OwnedDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  dup2(nowhere.number(), STDOUT_FILENO);
  if (held_errors_.IsOpen()) dup2(held_errors_.number(), STDERR_FILENO);
}

std::string HeldOutput::Release() {
  fflush(stdout);
  dup2(output_.number(), STDOUT_FILENO);
  dup2(errors_.number(), STDERR_FILENO);
  return text_up_to("", held_errors_.number());
}
