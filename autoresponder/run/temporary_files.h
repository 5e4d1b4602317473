#ifndef AUTORESPONDER_RUN_TEMPORARY_FILES_H
#define AUTORESPONDER_RUN_TEMPORARY_FILES_H

#include "autoresponder/reply/response_file.h"
#include "autoresponder/run/spool.h"

/// What the names of the run's two temporary files are made from: `mkstemp` replaces each X.
const char* spool_template();
const char* response_template();

/// Creates the spool file, mode 0600.
SpoolFile create_spool_file();

/// Creates a response file, mode 0600, under a name that nobody can foresee. Each reply has its
/// own.
ResponseFile create_response_file();

/// Removes both files, as far as they exist. Safe to call in a signal handler.
void remove_temporary_files();

/// The one way out of a run: waits for the end of the reader, removes both files and exits with
/// status 0.
[[noreturn]] void cleanup_and_exit();

#endif
