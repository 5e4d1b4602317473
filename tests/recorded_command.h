#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "memory_file.h"
#include "support/base/owned.h"

/// What commands write to standard output while `run` is called.
template <class Run>
std::string output_of(const Run& run) {
  const OwnedDescriptor output(memfd_create("output", MFD_CLOEXEC));
  const OwnedDescriptor before(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 64));
  dup2(output.number(), STDOUT_FILENO);
  run();
  dup2(before.number(), STDOUT_FILENO);
  return contents_of(output.number()).value_or("unreadable");
}

/// What a command line writes to standard output that a shell runs.
inline std::string output_of_shell(const std::string& line) {
  return output_of([&line] { static_cast<void>(system(line.c_str())); });
}
