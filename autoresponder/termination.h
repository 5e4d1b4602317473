#ifndef AUTORESPONDER_TERMINATION_H
#define AUTORESPONDER_TERMINATION_H

#include <string>

/// From here on a fatal report of the library, and SIGTERM, SIGINT or SIGHUP at any moment, leave
/// no temporary file behind; the exit status, or the death by the signal, stays what it was. A
/// signal that the caller had ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// Runs a shell command that writes to a temporary file by its name, as `system` does. A signal
/// that ends the run meanwhile ends every process of the command first, or one of them could create
/// the file again after it was removed.
void run_file_writer(const std::string& command);

#endif
