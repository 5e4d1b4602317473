#include "autoresponder/run/temporary_files.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "autoresponder/reader/reader_process.h"

#define SPOOL_TEMPLATE "/tmp/kem-autoresponder-XXXXXX"
#define RESPONSE_TEMPLATE "/tmp/kem-response-uu-XXXXXX"

// The names of the two files; templates until the files are created. Process-wide, because a signal
// handler removes the files.
char spool_file_path[] = SPOOL_TEMPLATE;
char response_file_path[] = RESPONSE_TEMPLATE;

const char* spool_template() {
  return SPOOL_TEMPLATE;
}

const char* response_template() {
  return RESPONSE_TEMPLATE;
}

SpoolFile create_spool_file() {
  const int descriptor = mkostemp(spool_file_path, O_CLOEXEC);
  return {descriptor, spool_file_path};
}

ResponseFile create_response_file() {
  memcpy(response_file_path, RESPONSE_TEMPLATE, sizeof response_file_path);
  const int descriptor = mkostemp(response_file_path, O_CLOEXEC);
  return {descriptor, response_file_path};
}

void remove_temporary_files() {
  unlink(spool_file_path);
  unlink(response_file_path);
}

void cleanup_and_exit() {
  forget_reader();
  remove_temporary_files();
  exit(0);
}
