// intake <MESSAGE: reads one message as the program does, and prints the seconds from the first
// byte to the filled record, the processor seconds of both processes, and the peak memory in KiB.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <sys/resource.h>

#include "autoresponder/run/incoming.h"
#include "autoresponder/run/process.h"
#include "autoresponder/run/temporary_files.h"

namespace {

// A value of /proc/self/status, in KiB. `getrusage` would include the memory of the program that
// this process was before exec.
long own_memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  long kib = 0;
  for (std::string word; status >> word;) {
    if (word == name) status >> kib;
  }
  return kib;
}

struct rusage usage_of_reader() {
  struct rusage usage {};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage;
}

// The reader's peak includes the message, which both processes share until the run releases it.
long peak_memory() {
  return std::max(own_memory("VmHWM:"), usage_of_reader().ru_maxrss + own_memory("RssAnon:"));
}

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double processor_seconds() {
  struct timespec time {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  const struct rusage reader = usage_of_reader();
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9 +
         seconds_of(reader.ru_utime) + seconds_of(reader.ru_stime);
}

}  // namespace

int main() {
  prepare_process();
  IncomingMessage message;
  const auto start = std::chrono::steady_clock::now();
  const double processor_start = processor_seconds();
  SpoolFile spool = create_spool_file();
  const int status = read_incoming_message(spool, Switches(), message);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  message.body_lines.reset();  // ends the reader
  const double processor = processor_seconds() - processor_start;
  printf("%.6f %.6f %ld\n", seconds.count(), processor, peak_memory());
  remove_temporary_files();
  return status;
}
