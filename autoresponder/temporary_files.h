#ifndef AUTORESPONDER_TEMPORARY_FILES_H
#define AUTORESPONDER_TEMPORARY_FILES_H

/// The names of the run's two temporary files, NUL-terminated and process-wide: a template until
/// the file is created, its name from then on.

/// The copy of the incoming message.
extern char spool_file_path[];
/// The reply of the rule that fires.
extern char response_file_path[];

/// Creates the spool file, mode 0600; returns its descriptor, or -1.
int create_spool_file();

/// Creates a fresh response file, mode 0600, under a name that nobody can foresee; returns its
/// descriptor, or -1. Each firing rule has its own.
int create_response_file();

/// Removes both files, as far as they exist. Safe to call in a signal handler.
void remove_temporary_files();

/// The one way out of a run: removes both files and exits with status 0.
[[noreturn]] void cleanup_and_exit();

#endif
