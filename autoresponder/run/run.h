#pragma once

/// Reads one message from standard input, sends the replies to it and ends the process: with status
/// 0 also after failures, with status 1 after a fatal report of the panel's library.
///
/// `program`: the path by which the program was started, NUL-terminated, alive as long as the
/// process.
[[noreturn]] void run(const char* program);
