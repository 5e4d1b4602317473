#ifndef AUTORESPONDER_RUN_TERMINATION_H
#define AUTORESPONDER_RUN_TERMINATION_H

/// From here on the process leaves no temporary file, whether a fatal report of the library or a
/// signal that may be sent to it ends it. Exit status and signal stay what they were. While a
/// command runs through `system`, SIGINT and SIGQUIT go to the command only. A signal that the
/// caller had ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// For a program that makes no temporary files: such a signal ends its child processes, and then
/// the process.
void end_children_on_termination();

#endif
