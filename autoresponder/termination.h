#ifndef AUTORESPONDER_TERMINATION_H
#define AUTORESPONDER_TERMINATION_H

#include <functional>

/// From here on a fatal report of the library, and a signal that
/// ends it at any moment, leave
/// no temporary file behind; the exit status, or the death by the signal, stays what it was: while
/// a command runs through `system`, an interrupt is left to the command. A signal that the caller
/// had ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// The same for a program that makes no temporary files: only processes that `run_file_writer` has
/// started are ended.
void end_writers_on_termination();

/// Calls `write` in a process of its own and waits for its end. For commands that write to a
/// temporary file by its name: a signal that ends the run meanwhile ends every process of theirs
/// first, or one of them could create the file again after it was removed.
void run_file_writer(const std::function<void()>& write);

#endif
