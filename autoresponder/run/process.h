#pragma once

/// Makes the process fit for a run, whoever started it and however:
///
/// - memory of large texts goes back to the system when it is freed;
/// - the three standard descriptors are open, so that no file of ours gets one of their numbers; a
///   standard output or error that cannot be written to becomes /dev/null;
/// - no signal is blocked and no timer runs; a signal that the caller ignored does nothing to the
///   run (SIGTTIN and SIGTTOU stop it), but commands start with its default action;
/// - SIGPIPE and SIGXFSZ do not end the run: the write fails;
/// - started setuid by another user: only the three standard descriptors stay open; the environment
///   is RECIPIENT, SENDER and a fixed PATH; the working directory is /, the umask 022; there are no
///   supplementary groups and no core files, and the timer slack is the default; file size and
///   processor time are unlimited, the stack may grow to 8 MiB at least, and 64 descriptors at
///   least may be open. If such a limit cannot be raised the process ends with status 1. Limits on
///   memory below 1 GiB are raised as far as possible.
///
/// Call once, before anything else. Leaves `errno` as it was.
void prepare_process();

/// Raises the limit on descriptors as far as possible. With the repair of the store each attachment
/// keeps one open until its reply is complete.
void allow_many_descriptors();

/// In a run started setuid by another user, removes RECIPIENT and SENDER from the environment too:
/// commands inherit no text of the caller's choice. Call after reading them.
void forget_delivery();
