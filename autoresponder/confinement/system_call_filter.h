#pragma once

#include <linux/filter.h>
#include <vector>

/// The filter of system calls for a process that reads a message. Allows memory, reading, opening
/// for reading, writing to descriptor 0, and the like. Attempts to start, reach, trace or end other
/// processes, to open a socket, to mount, and the like end the process by SIGSYS; all other calls
/// fail with EPERM. Empty for an unknown kind of processor. `own_pid`: the number of the process.
std::vector<sock_filter> system_call_filter(int own_pid);

/// Puts the calling process irrevocably under the filter. False if the kernel or the processor does
/// not support it.
bool enter_system_call_filter();
