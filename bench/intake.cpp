// intake <MESSAGE: reads one message as the program does, and prints how long it took from the
// first byte to the filled record, in seconds, and the most memory that was in use, in KiB.

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>

#include "autoresponder/run/incoming.h"
#include "autoresponder/run/process.h"
#include "autoresponder/run/temporary_files.h"

namespace {

// Since the process became this program; what `getrusage` gives is also its parent's.
long peak_memory() {
  std::ifstream status("/proc/self/status");
  long kib = 0;
  for (std::string word; status >> word;) {
    if (word == "VmHWM:") status >> kib;
  }
  return kib;
}

double processor_seconds() {
  struct timespec time {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
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
  const double processor = processor_seconds() - processor_start;
  printf("%.6f %.6f %ld\n", seconds.count(), processor, peak_memory());
  remove_temporary_files();
  return status;
}
