#include "autoresponder/run/temporary_files.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

// The names of the two files: a template until the file is created, its name from then on.
// Process-wide, because the end of the run removes both, whatever the run was doing.
char spool_file_path[sizeof kSpoolTemplate];
char response_file_path[sizeof kResponseTemplate];

namespace {

// Commands that the run starts have no business with the file's descriptor.
template <size_t kSize>
int create(char (&name)[kSize], const char (&name_template)[kSize]) {
  memcpy(name, name_template, kSize);
  const int descriptor = mkstemp(name);
  if (descriptor >= 0) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
}

}  // namespace

SpoolFile create_spool_file() {
  const int descriptor = create(spool_file_path, kSpoolTemplate);
  return {descriptor, spool_file_path};
}

ResponseFile create_response_file() {
  const int descriptor = create(response_file_path, kResponseTemplate);
  return {descriptor, response_file_path};
}

void remove_temporary_files() {
  unlink(spool_file_path);
  unlink(response_file_path);
}

void cleanup_and_exit() {
  remove_temporary_files();
  exit(0);
}
