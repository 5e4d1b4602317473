/* Preloaded into the program: appends to a file how many microseconds of processor time the
 * process that takes the message apart has used ("reader"), and each command ("command"). */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static long microseconds(const struct rusage* usage) {
  return 1000000 * (usage->ru_utime.tv_sec + usage->ru_stime.tv_sec) + usage->ru_utime.tv_usec +
         usage->ru_stime.tv_usec;
}

static void note(const char* what, long used) {
  char line[64];
  const int length = snprintf(line, sizeof line, "%s %ld\n", what, used);
  const int file = open("/run/panel/shares", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (file < 0 || write(file, line, (size_t)length) != length) abort();
  close(file);
}

static pid_t started_command;

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* words, char* const* environment) {
  int (*real)(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
              char* const*, char* const*) = NULL;
  *(void**)&real = dlsym(RTLD_NEXT, "posix_spawn");
  const int error = real(child, path, actions, attributes, words, environment);
  if (error == 0) started_command = *child;
  return error;
}

pid_t waitpid(pid_t process, int* status, int options) {
  struct rusage usage;
  const pid_t ended = wait4(process, status, options, &usage);
  if (ended > 0) note(ended == started_command ? "command" : "reader", microseconds(&usage));
  return ended;
}

int system(const char* command) {
  int (*real)(const char*) = NULL;
  *(void**)&real = dlsym(RTLD_NEXT, "system");
  struct rusage before, after;
  getrusage(RUSAGE_CHILDREN, &before);
  const int status = real(command);
  getrusage(RUSAGE_CHILDREN, &after);
  note("command", microseconds(&after) - microseconds(&before));
  return status;
}
