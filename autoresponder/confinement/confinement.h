#pragma once

#include <cstddef>
#include <sys/resource.h>
#include <sys/types.h>

/// The ways in which a process that reads a message is confined. If the kernel lacks one, the
/// process goes on with the rest.
enum class Confinement : unsigned {
  kIdentity,      ///< a user and a group that own nothing
  kNoPrivileges,  ///< never gains any; no process of its user may read its memory
  kLimits,        ///< memory, processor time, files, descriptors, processes
  kFileRules,     ///< reads the C library's converters and no other file
  kSystemCalls,   ///< a filter of system calls
};
constexpr unsigned kConfinements = 5;

/// A set of confinements, one bit each.
using ConfinementSet = unsigned;
constexpr ConfinementSet bit(Confinement confinement) {
  return 1U << static_cast<unsigned>(confinement);
}

/// The confinements of a reader in this build: all, except that sanitizers make system calls of
/// their own, valgrind uses files and keeps its memory in the process, and a build that counts
/// covered lines writes its counts into files.
ConfinementSet wanted_confinements();

/// The processor time that a message of `size` bytes may take, in seconds.
rlim_t processor_limit(size_t size);
/// The memory that it may take, in bytes, besides what the process has at its start.
rlim_t memory_limit(size_t size);

/// Confines the calling process irrevocably. `wanted`: by what; `parent`: who forked it; `size`: of
/// the message that it reads, in bytes. The process dies with its parent, keeps of its descriptors
/// only `channel`, which becomes 0, and overwrites the texts of its environment. Returns by what it
/// is confined.
ConfinementSet confine(ConfinementSet wanted, int channel, size_t size, pid_t parent);
