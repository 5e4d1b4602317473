#ifndef AUTORESPONDER_RUN_PROCESS_H
#define AUTORESPONDER_RUN_PROCESS_H

/// Makes the process fit for a run, whoever started it and however:
///
/// - memory of large texts goes back to the system when it is freed;
/// - the three standard descriptors are open, so that no file of ours gets the number of one, and
///   standard output and standard error can be written to, if only to /dev/null;
/// - no signal is blocked and no timer runs; a signal that the caller ignored does nothing to the
///   run, but commands start with its default action;
/// - a command that ends before it has read what we write, and a limit on the size of files, do not
///   end the run;
/// - started setuid by another user: only the three standard descriptors stay open; nothing of that
///   user's environment is left but RECIPIENT and SENDER, PATH is a fixed one, the working
///   directory is /, the umask 022, there are no supplementary groups, no core files and no late
///   timers; and no limit on stack, file size, processor time or descriptors is so low that
///   commands crash. Where such a limit cannot be raised the process ends with status 1. Limits on
///   memory below 1 GiB are raised as far as they can be.
///
/// Call once, before anything else. Leaves `errno` as it was.
void prepare_process();

/// Raises the limit on descriptors as far as it can be. With the repair of the store each
/// attachment takes one until its reply is complete.
void allow_many_descriptors();

/// Started setuid by another user, takes RECIPIENT and SENDER from the environment too: commands
/// need no text of the caller's choice. Call when they have been read.
void forget_delivery();

#endif
