#ifndef AUTORESPONDER_CONFINEMENT_CONFINEMENT_H
#define AUTORESPONDER_CONFINEMENT_CONFINEMENT_H

#include <cstddef>
#include <sys/resource.h>
#include <sys/types.h>

/// What keeps a process that takes a message apart from everything else. The kernel may lack any of
/// them; the process then goes on with the rest.
enum class Confinement : unsigned {
  kIdentity,      ///< no user, no group that owns anything
  kNoPrivileges,  ///< never gains any, and nobody may look into its memory
  kLimits,        ///< memory, processor time, files, descriptors, processes
  kFileRules,     ///< reads the C library's converters and no other file
  kSystemCalls,   ///< a filter of system calls
};
constexpr unsigned kConfinements = 5;

/// A set of them, one bit each.
using ConfinementSet = unsigned;
constexpr ConfinementSet bit(Confinement confinement) {
  return 1U << static_cast<unsigned>(confinement);
}

/// What this build confines a reader by: all, but sanitizers make system calls of their own,
/// valgrind reads and writes files and keeps its memory in the process, and a build that counts
/// covered lines writes its counters into files.
ConfinementSet wanted_confinements();

/// How much processor time a message of `size` bytes may take, in seconds, and how much memory
/// besides what the process has at its start, in bytes.
rlim_t processor_limit(size_t size);
rlim_t memory_limit(size_t size);

/// Confines the calling process, which was forked by `parent` to read a message of `size` bytes,
/// for ever. It dies with its parent, keeps of its descriptors only `channel`, which becomes 0, and
/// forgets the texts of its environment. Returns what it is confined by.
ConfinementSet confine(ConfinementSet wanted, int channel, size_t size, pid_t parent);

#endif
