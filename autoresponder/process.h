#ifndef AUTORESPONDER_PROCESS_H
#define AUTORESPONDER_PROCESS_H

/// Makes the process fit for a run, whoever started it and however:
///
/// - the three standard descriptors are open, so that no file of ours takes the number of one;
/// - started setuid by another user, nothing of that user's environment is left but RECIPIENT, and
///   PATH is a fixed one;
/// - a command that ends before it has read what we write, and a limit on the size of files, do not
///   end the run, while commands themselves start with the default actions for those signals.
///
/// Call once, before anything else. Leaves `errno` as it was.
void prepare_process();

/// The last of these again, for after a library has chosen actions of its own.
void survive_failing_writes();

#endif
