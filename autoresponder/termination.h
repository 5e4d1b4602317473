#ifndef AUTORESPONDER_TERMINATION_H
#define AUTORESPONDER_TERMINATION_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>

/// From here on the process leaves no temporary file, whether a fatal report of the library or a
/// signal that may be sent to it ends it. Exit status and signal stay what they were. While a
/// command runs through `system`, SIGINT and SIGQUIT go to the command only. A signal that the
/// caller had ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// For a program that makes no temporary files: signals end only the processes that
/// `run_file_writer` has started, and then the process.
void end_writers_on_termination();

/// What a process that writes a file may take.
struct WriterLimits {
  uint64_t file_size = std::numeric_limits<uint64_t>::max();  ///< bytes
  std::chrono::seconds time = std::chrono::hours(1);
};

/// Calls `write` in a process of its own and waits for its end. For commands that write to a
/// temporary file by its name: a signal that ends the run meanwhile ends all of its processes
/// first; otherwise one of them could create the file again after it was removed. False when they
/// were ended because their time was over.
bool run_file_writer(const std::function<void()>& write, const WriterLimits& limits);

#endif
