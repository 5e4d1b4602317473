#ifndef AUTORESPONDER_CONFINEMENT_SYSTEM_CALL_FILTER_H
#define AUTORESPONDER_CONFINEMENT_SYSTEM_CALL_FILTER_H

#include <linux/filter.h>
#include <vector>

/// A filter of system calls for a process that takes a message apart: memory, reading, opening for
/// reading, and writing to descriptor 0. Attempts to start, reach, trace or end other
/// processes, to open a socket, to mount, and the like end the process by SIGSYS; all other calls
/// fail with EPERM. Empty for processors that it does not know. `own_pid`: of the process.
std::vector<sock_filter> system_call_filter(int own_pid);

/// Puts the calling process under the filter, for ever. False where the kernel cannot.
bool enter_system_call_filter();

#endif
