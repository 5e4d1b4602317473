#include "autoresponder/confinement/confinement.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#ifdef HAS_VALGRIND
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

#include "autoresponder/confinement/file_rules.h"
#include "autoresponder/confinement/system_call_filter.h"
#include "support/base/descriptors.h"
#include "support/base/owned.h"
#include "support/base/signals.h"

namespace {

constexpr rlim_t kMebibyte = rlim_t{1} << 20;

void limit(decltype(RLIMIT_CPU) resource, rlim_t max) {
  const rlimit value{max, max};
  setrlimit(resource, &value);
}

// The limit includes memory that is already mapped: little, except under AddressSanitizer, which
// also keeps what was freed for a while.
rlim_t memory_in_use() {
#ifdef __SANITIZE_ADDRESS__
  unsigned long pages = 0;
  const OwnedFile statistics(fopen("/proc/self/statm", "re"));
  const bool is_known =
      statistics && fscanf(statistics.get(), "%*u %*u %*u %*u %*u %lu", &pages) == 1;  // NOLINT
  const rlim_t kept = 2048 * kMebibyte;
  return is_known ? kept + pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) : RLIM_INFINITY / 2;
#else
  return 8 * kMebibyte;
#endif
}

// Address space for the program, the C library, and the converters that are loaded.
constexpr rlim_t kLibraries = 16 * kMebibyte;

// For the connection, and for the few files that are open while a converter is loaded.
constexpr rlim_t kMaxDescriptors = 16;

void set_limits(size_t size) {
  const rlim_t memory = memory_in_use() + memory_limit(size);
  limit(RLIMIT_DATA, memory);
#ifndef __SANITIZE_ADDRESS__
  // Includes memory that RLIMIT_DATA does not count.
  limit(RLIMIT_AS, memory + kLibraries);
#endif
  limit(RLIMIT_CPU, processor_limit(size));
  limit(RLIMIT_FSIZE, 0);
  limit(RLIMIT_NOFILE, kMaxDescriptors);
  limit(RLIMIT_CORE, 0);
}

// Needed if the process stays root.
bool drop_capabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  return syscall(SYS_capset, &header, none) == 0;
}

// Makes each reader another user, so that two of them cannot reach each other. No system assigns
// these numbers. If they are not mapped, as in some containers, the reader becomes "nobody". If one
// step fails, the others still run.
bool drop_identity() {
  constexpr uid_t kFirstReader = 0xB0000000;
  constexpr uid_t kNobody = 65534;
  const uid_t own = kFirstReader + static_cast<uid_t>(getpid());
  const bool has_groups = setgroups(0, nullptr) != 0;
  const bool has_group = setresgid(own, own, own) != 0 && setresgid(kNobody, kNobody, kNobody) != 0;
  const bool has_user = setresuid(own, own, own) != 0 && setresuid(kNobody, kNobody, kNobody) != 0;
  const bool has_capabilities = !drop_capabilities();
  return !has_groups && !has_group && !has_user && !has_capabilities;
}

// Call after `drop_identity`: changing the user resets PR_SET_PDEATHSIG.
bool refuse_privileges(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
  // A parent in another namespace of processes has the number 0 here.
  if (getppid() != parent && getppid() != 0) _exit(1);
  return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

void keep_descriptors(int channel) {
  dup2(channel, STDIN_FILENO);
#ifdef __SANITIZE_ADDRESS__  // it reports on standard error
  close(STDOUT_FILENO);
  close_descriptors(STDERR_FILENO + 1);
#else
  close_descriptors(STDOUT_FILENO);
#endif
}

void forget_environment() {
  for (char** text = environ; text != nullptr && *text != nullptr; ++text) {
    explicit_bzero(*text, strlen(*text));
  }
}

}  // namespace

ConfinementSet wanted_confinements() {
  constexpr ConfinementSet kAll = (1U << kConfinements) - 1;
  ConfinementSet wanted = kAll;
#ifdef __SANITIZE_ADDRESS__
  wanted &= ~bit(Confinement::kSystemCalls);
#endif
#ifdef READER_WRITES_COUNTERS
  wanted = bit(Confinement::kNoPrivileges);
#endif
  if (RUNNING_ON_VALGRIND) {
    wanted = bit(Confinement::kIdentity) | bit(Confinement::kNoPrivileges);
  }
  return wanted;
}

rlim_t processor_limit(size_t size) {
  constexpr rlim_t kMin = 2;
  constexpr size_t kBytesASecond = size_t{32} << 10;
  return kMin + size / kBytesASecond;
}

rlim_t memory_limit(size_t size) {
  constexpr rlim_t kMin = 64 * kMebibyte;
  constexpr rlim_t kGrowth = 48;
  return kMin + kGrowth * size;
}

ConfinementSet confine(ConfinementSet wanted, int channel, size_t size, pid_t parent) {
  ConfinementSet reached = 0;
  const auto note = [&reached](Confinement confinement, bool is_reached) {
    if (is_reached) reached |= bit(confinement);
  };
  const auto wants = [wanted](Confinement one) { return (wanted & bit(one)) != 0; };
  // The run's handlers must not act in this process. Signals that the caller ignored stay ignored,
  // except SIGXCPU: the limit on processor time needs it.
  forget_signal_handlers(ignore_signal);
  signal(SIGXCPU, SIG_DFL);
  survive_failing_writes();
  keep_descriptors(channel);
  if (wants(Confinement::kLimits)) set_limits(size);
  if (wants(Confinement::kIdentity)) note(Confinement::kIdentity, drop_identity());
  note(Confinement::kNoPrivileges, refuse_privileges(parent));
  if (wants(Confinement::kLimits)) limit(RLIMIT_NPROC, 0);
  note(Confinement::kLimits, wants(Confinement::kLimits));
  forget_environment();
  if (wants(Confinement::kFileRules)) note(Confinement::kFileRules, enter_file_rules());
  if (wants(Confinement::kSystemCalls)) note(Confinement::kSystemCalls, enter_system_call_filter());
  return reached;
}
