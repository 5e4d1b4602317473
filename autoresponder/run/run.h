#ifndef AUTORESPONDER_RUN_RUN_H
#define AUTORESPONDER_RUN_RUN_H

/// The whole life of the process: one message from standard input, the replies out. Never returns.
///
/// `program`: the path by which the program was started, NUL-terminated, alive as long as the
/// process. Every handled outcome ends with status 0; a fatal report of the library with status 1.
[[noreturn]] void run(const char* program);

#endif
