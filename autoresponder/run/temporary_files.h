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
