#pragma once

#include "autoresponder/reply/response_file.h"
#include "autoresponder/run/spool.h"

/// The `mkstemp` templates of the paths of the two temporary files.
const char* spool_template();
const char* response_template();

/// Creates the spool file, mode 0600. If that fails, the result is not open.
SpoolFile create_spool_file();

/// Creates a response file, mode 0600, with an unpredictable name. Call once for each reply.
ResponseFile create_response_file();

/// Removes the spool file and the last response file. Safe to call in a signal handler.
void remove_temporary_files();

/// Ends a run: ends the reader, removes both files and exits with status 0.
[[noreturn]] void cleanup_and_exit();

/// From now on the temporary files are also removed when a fatal report of the panel's library or a
/// signal such as SIGTERM ends the process; its exit status or signal stays the same. Exception:
/// while a command runs, SIGINT and SIGQUIT go to the command only. A signal that the caller
/// ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// For a program without temporary files: a signal such as SIGTERM ends its child processes, then
/// the process.
void end_children_on_termination();
