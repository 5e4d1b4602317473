#include "autoresponder/temporary_files.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

#define RESPONSE_TEMPLATE "/tmp/kem-response-uu-XXXXXX"

// Commands that the run starts have no business with the file's descriptor.
int create(char* name) {
  const int descriptor = mkstemp(name);
  if (descriptor >= 0) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
}

}  // namespace

char spool_file_path[] = "/tmp/kem-autoresponder-XXXXXX";
char response_file_path[] = RESPONSE_TEMPLATE;

int create_spool_file() {
  return create(spool_file_path);
}

int create_response_file() {
  memcpy(response_file_path, RESPONSE_TEMPLATE, sizeof response_file_path);
  return create(response_file_path);
}

void remove_temporary_files() {
  unlink(spool_file_path);
  unlink(response_file_path);
}

void cleanup_and_exit() {
  remove_temporary_files();
  exit(0);
}
