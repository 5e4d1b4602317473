#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

/// The system calls that the reader may make. Included by the filter alone.
namespace system_calls {

inline constexpr uint32_t kEnd = SECCOMP_RET_KILL_PROCESS;
inline constexpr uint32_t kAllow = SECCOMP_RET_ALLOW;
inline constexpr uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;

/// A condition on one argument of a call.
struct Condition {
  enum Kind { kNone, kEquals, kLacks, kIsOwnPid, kIsSize };

  Kind kind = kNone;
  size_t argument = 0;
  uint32_t value = 0;
};

/// The lower half of the argument has this value.
constexpr Condition equals(size_t argument, uint32_t value) {
  return {Condition::kEquals, argument, value};
}

/// The lower half of the argument has none of these bits.
constexpr Condition lacks(size_t argument, uint32_t bits) {
  return {Condition::kLacks, argument, bits};
}

/// The lower half of the argument is the number of this process.
constexpr Condition is_own_pid(size_t argument) {
  return {Condition::kIsOwnPid, argument, 0};
}

/// The whole argument is neither 0 nor 4 GiB or more.
constexpr Condition is_size(size_t argument) {
  return {Condition::kIsSize, argument, 0};
}

/// A call is allowed if all conditions of one of its rules hold; otherwise `action` is taken, which
/// is the same in all rules of a call. Without conditions it is always taken.
struct Rule {
  uint32_t call;
  uint32_t action;
  Condition conditions[2];
};

constexpr Rule allow(uint32_t call) {
  return {call, kAllow, {}};
}

/// Allowed only if the conditions hold, otherwise refused.
constexpr Rule only_if(uint32_t call, Condition first, Condition second = {}) {
  return {call, kRefuse, {first, second}};
}

/// Ends the process: only an intruder makes this call.
constexpr Rule end_at(uint32_t call) {
  return {call, kEnd, {}};
}

/// Allowed if the condition holds; otherwise ends the process.
constexpr Rule end_unless(uint32_t call, Condition condition) {
  return {call, kEnd, {condition}};
}

inline constexpr uint32_t kWriting =
    O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND | (O_TMPFILE & ~O_DIRECTORY);

/// In any order. Calls without a rule are refused.
inline constexpr Rule kRules[] = {
    // Needed for memory, for loading converters, and to abort.
    allow(__NR_read),
    allow(__NR_pread64),
    allow(__NR_close),
    allow(__NR_fstat),
#ifdef __NR_newfstatat
    allow(__NR_newfstatat),
#endif
    allow(__NR_getdents64),
    allow(__NR_lseek),
    allow(__NR_munmap),
    allow(__NR_brk),
    allow(__NR_madvise),
    allow(__NR_futex),
    allow(__NR_exit_group),
    allow(__NR_exit),
    allow(__NR_getpid),
    allow(__NR_gettid),
    allow(__NR_rt_sigprocmask),
    allow(__NR_rt_sigaction),
    allow(__NR_rt_sigreturn),
    allow(__NR_getrandom),
    allow(__NR_clock_gettime),
    allow(__NR_restart_syscall),
    allow(__NR_sched_yield),
    only_if(__NR_write, equals(0, STDIN_FILENO)),
    only_if(__NR_fcntl, equals(1, F_GETFL)),
    only_if(__NR_openat, lacks(2, kWriting)),
    end_unless(__NR_tgkill, is_own_pid(0)),
    // Only unchanged files may be executed, no memory that was written to. Nothing is shared: a
    // page mapped twice could be written in one mapping and executed in the other.
    only_if(__NR_mmap, lacks(2, PROT_EXEC), lacks(3, MAP_SHARED)),
    only_if(__NR_mmap, lacks(2, PROT_WRITE), lacks(3, MAP_SHARED | MAP_ANONYMOUS)),
    only_if(__NR_mprotect, lacks(2, PROT_EXEC)),
    // An old size of 0 would map the same pages once more. A fixed address could cost a page table
    // for each page.
    only_if(__NR_mremap, is_size(1), lacks(3, ~uint32_t{MREMAP_MAYMOVE})),
// Calls that only an intruder makes.
#ifdef __NR_fork
    end_at(__NR_fork),
    end_at(__NR_vfork),
#endif
    end_at(__NR_clone),
    end_at(__NR_clone3),
    end_at(__NR_execve),
    end_at(__NR_execveat),
    end_at(__NR_kill),
    end_at(__NR_tkill),
    end_at(__NR_rt_sigqueueinfo),
    end_at(__NR_rt_tgsigqueueinfo),
    end_at(__NR_pidfd_open),
    end_at(__NR_pidfd_send_signal),
    end_at(__NR_pidfd_getfd),
    end_at(__NR_ptrace),
    end_at(__NR_process_vm_readv),
    end_at(__NR_process_vm_writev),
    end_at(__NR_socket),
    end_at(__NR_socketpair),
    end_at(__NR_connect),
    end_at(__NR_bind),
    end_at(__NR_sendto),
    end_at(__NR_sendmsg),
    end_at(__NR_mount),
    end_at(__NR_umount2),
    end_at(__NR_pivot_root),
    end_at(__NR_chroot),
    end_at(__NR_unshare),
    end_at(__NR_setns),
    end_at(__NR_bpf),
    end_at(__NR_perf_event_open),
    end_at(__NR_userfaultfd),
    end_at(__NR_io_uring_setup),
    end_at(__NR_init_module),
    end_at(__NR_finit_module),
    end_at(__NR_kexec_load),
    end_at(__NR_keyctl),
    end_at(__NR_add_key),
    end_at(__NR_request_key),
    end_at(__NR_setuid),
    end_at(__NR_setresuid),
    end_at(__NR_setgid),
    end_at(__NR_setresgid),
    end_at(__NR_capset),
};

}  // namespace system_calls
