#ifndef AUTORESPONDER_REPLY_FILE_WRITER_H
#define AUTORESPONDER_REPLY_FILE_WRITER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>

/// What a process that writes a file may take.
struct WriterLimits {
  uint64_t file_size = std::numeric_limits<uint64_t>::max();  ///< bytes
  std::chrono::seconds time = std::chrono::hours(1);
};

/// Calls `write` in a process of its own and waits for its end. For commands that write to a
/// temporary file by its name: a signal that ends the run meanwhile has to end all of its processes
/// first (`end_file_writer`), because one of them could create the file again after it was removed.
/// False when they were ended because their time was over.
bool run_file_writer(const std::function<void()>& write, const WriterLimits& limits);

/// Ends every process of the file writer that is running, if there is one, and waits for the last
/// of them. Safe to call in a signal handler.
void end_file_writer();

#endif
