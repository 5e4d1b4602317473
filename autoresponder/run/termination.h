#pragma once

/// From now on the temporary files are also removed when a fatal report of the panel's library or a
/// signal such as SIGTERM ends the process; its exit status or signal stays the same. Exception:
/// while a command runs, SIGINT and SIGQUIT go to the command only. A signal that the caller
/// ignored stays ignored. A process that aborts keeps its files.
void remove_files_on_termination();

/// For a program without temporary files: a signal such as SIGTERM ends its child processes, then
/// the process.
void end_children_on_termination();
