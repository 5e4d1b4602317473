#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>

/// Limits for a process that writes a file.
struct WriterLimits {
  uint64_t file_size = std::numeric_limits<uint64_t>::max();  ///< bytes
  std::chrono::seconds time = std::chrono::hours(1);
};

/// How a file writer ended.
enum class WriterEnd {
  kSucceeded,
  kFailed,    ///< `write` returned false, the process was killed, or could not be started
  kTimeOver,  ///< it was killed because its time was over
};

/// Calls `write`, which returns whether it succeeded, in a child process with a process group of
/// its own, waits for it, and kills what it left running.
///
/// For commands that write to a temporary file by its name. A signal that ends the run has to kill
/// their process group first (`end_file_writer`); otherwise it could recreate the removed file.
WriterEnd run_file_writer(const std::function<bool()>& write, const WriterLimits& limits);

/// Kills the process group of the running file writer, if there is one, and waits for all of its
/// processes. Safe to call in a signal handler.
void end_file_writer();
