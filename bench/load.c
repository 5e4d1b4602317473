/* load SECONDS AT_ONCE MAILBOXES MESSAGES DIRECTORY PROGRAM: runs AT_ONCE deliveries at a time
 * for SECONDS; when one ends the next one starts. Delivery n goes to mailbox n % MAILBOXES + 1,
 * with the file DIRECTORY/(n % MESSAGES) as its message, and appends its diagnostics to
 * DIRECTORY/said. Prints the number of deliveries; seconds; their processor seconds; the median,
 * 99th percentile and longest of their milliseconds; and how many ended with another status than
 * 0. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { MAX_AT_ONCE = 1000, MAX_DELIVERIES = 1000000 };

struct Slot {
  pid_t process;
  double start;
};

struct Plan {
  double seconds;
  int at_once;
  long mailboxes;
  long messages;
  const char* directory;
  const char* program;
};

static struct Slot slots[MAX_AT_ONCE];
static double latencies[MAX_DELIVERIES];

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec + 1e-9 * (double)time.tv_nsec;
}

static double seconds_of(const struct rusage* usage) {
  return (double)(usage->ru_utime.tv_sec + usage->ru_stime.tv_sec) +
         1e-6 * (double)(usage->ru_utime.tv_usec + usage->ru_stime.tv_usec);
}

static void start(struct Slot* slot, const struct Plan* plan, long number) {
  char message[256], said[256], recipient[64];
  char preloaded[256] = "";
  snprintf(message, sizeof message, "%s/%ld", plan->directory, number % plan->messages);
  snprintf(said, sizeof said, "%s/said", plan->directory);
  snprintf(recipient, sizeof recipient, "RECIPIENT=shop-box%ld@shop.example",
           number % plan->mailboxes + 1);
  if (getenv("LOAD_PRELOAD") != NULL) {
    snprintf(preloaded, sizeof preloaded, "LD_PRELOAD=%s", getenv("LOAD_PRELOAD"));
  }
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, message, O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, said, O_WRONLY | O_CREAT | O_APPEND,
                                   0644);
  char* const arguments[] = {(char*)plan->program, NULL};
  char* const environment[] = {"PATH=/usr/bin:/bin", recipient, preloaded[0] ? preloaded : NULL,
                               NULL};
  slot->start = now();
  const int error =
      posix_spawn(&slot->process, plan->program, &files, NULL, arguments, environment);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    fprintf(stderr, "load: cannot start %s\n", plan->program);
    exit(1);
  }
}

static struct Slot* slot_of(pid_t process, int at_once) {
  for (int i = 0; i < at_once; ++i) {
    if (slots[i].process == process) return &slots[i];
  }
  exit(1);
}

static int compare(const void* one, const void* other) {
  const double a = *(const double*)one, b = *(const double*)other;
  return (a > b) - (a < b);
}

static void report(long ended, double seconds, double used, long failed) {
  qsort(latencies, (size_t)ended, sizeof *latencies, compare);
  if (ended == 0) exit(1);
  printf("%ld %.6f %.6f %.3f %.3f %.3f %ld\n", ended, seconds, used, 1e3 * latencies[ended / 2],
         1e3 * latencies[ended * 99 / 100], 1e3 * latencies[ended - 1], failed);
}

static void run(const struct Plan* plan) {
  const double begin = now(), deadline = begin + plan->seconds;
  double used = 0, seconds = 0;
  long started = 0, ended = 0, failed = 0;
  for (; started < plan->at_once; ++started) start(&slots[started], plan, started);
  for (int working = plan->at_once; working > 0;) {
    int status = 0;
    struct rusage usage;
    struct Slot* const slot = slot_of(wait4(-1, &status, 0, &usage), plan->at_once);
    const double end = now();
    if (ended == MAX_DELIVERIES) exit(1);
    latencies[ended++] = end - slot->start;
    seconds = end - begin;
    used += seconds_of(&usage);
    failed += status != 0;
    slot->process = 0;
    if (end < deadline) {
      start(slot, plan, started++);
    } else {
      --working;
    }
  }
  report(ended, seconds, used, failed);
}

int main(int count, char** arguments) {
  if (count != 7) return 2;
  const struct Plan plan = {atof(arguments[1]), atoi(arguments[2]), atol(arguments[3]),
                            atol(arguments[4]), arguments[5],       arguments[6]};
  if (plan.at_once < 1 || plan.at_once > MAX_AT_ONCE || plan.mailboxes < 1 || plan.messages < 1)
    return 2;
  run(&plan);
  return 0;
}
