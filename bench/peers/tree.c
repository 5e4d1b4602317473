/* tree COMMAND [ARGUMENT...]: runs the command and follows each process that comes of it. Then it
 * writes four numbers: processes, programs that they became (the command is the first), the peak
 * memory of the largest process and the sum of all processes' peaks, in KiB. A page that several
 * processes share counts in each. Ends with the command's status. */
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

struct tree {
  long processes;
  long programs;
  long largest;
  long sum;
};

/* The number after a name in the process's status, or 0. */
static long status_value(pid_t process, const char* name) {
  char path[64];
  snprintf(path, sizeof path, "/proc/%d/status", (int)process);
  FILE* const file = fopen(path, "r");
  if (file == NULL) return 0;
  long value = 0;
  char line[256];
  while (fgets(line, sizeof line, file) != NULL) {
    if (strncmp(line, name, strlen(name)) == 0) sscanf(line + strlen(name), "%ld", &value);
  }
  fclose(file);
  return value;
}

/* A thread is about to end; the memory of its process can still be read. */
static void note_end(struct tree* tree, pid_t thread) {
  if (status_value(thread, "Tgid:") != thread) return;
  const long peak = status_value(thread, "VmHWM:");
  ++tree->processes;
  tree->sum += peak;
  if (peak > tree->largest) tree->largest = peak;
}

/* Notes what stopped a thread; returns the signal with which it is to go on. */
static int note_stop(struct tree* tree, pid_t thread, int status) {
  const int event = status >> 16;
  if (event == PTRACE_EVENT_EXEC) ++tree->programs;
  if (event == PTRACE_EVENT_EXIT) note_end(tree, thread);
  const int signal = WSTOPSIG(status);
  /* A new process stops by a SIGSTOP that it must not get. */
  return event != 0 || signal == SIGSTOP || signal == SIGTRAP ? 0 : signal;
}

/* Follows all processes until the last has ended; returns the status of the first. */
static int follow(struct tree* tree, pid_t first) {
  int first_status = 1;
  int status;
  pid_t thread;
  while ((thread = waitpid(-1, &status, __WALL)) > 0) {
    if (WIFSTOPPED(status)) {
      ptrace(PTRACE_CONT, thread, NULL, (long)note_stop(tree, thread, status));
    } else if (thread == first) {
      first_status = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    }
  }
  return first_status;
}

int main(int count, char** arguments) {
  if (count < 2) return 2;
  const pid_t first = fork();
  if (first == 0) {
    if (ptrace(PTRACE_TRACEME, 0, NULL, NULL) != 0 || raise(SIGSTOP) != 0) _exit(127);
    execv(arguments[1], arguments + 1);
    _exit(127);
  }
  const long options = PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
                       PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL;
  int status;
  if (first < 0 || waitpid(first, &status, 0) != first || !WIFSTOPPED(status) ||
      ptrace(PTRACE_SETOPTIONS, first, NULL, options) != 0 ||
      ptrace(PTRACE_CONT, first, NULL, NULL) != 0) {
    return 1;
  }
  struct tree tree = {0};
  const int result = follow(&tree, first);
  printf("%ld %ld %ld %ld\n", tree.processes, tree.programs, tree.largest, tree.sum);
  return result;
}
