#include "autoresponder/reader/system_call_filter.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

#if defined(__x86_64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr uint32_t kFirstForeign = 0x40000000;  // the calls of the x32 interface
#elif defined(__aarch64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
constexpr uint32_t kFirstForeign = 0xFFFFFFFF;
#else
constexpr uint32_t kArchitecture = 0;  // unknown: no filter
constexpr uint32_t kFirstForeign = 0xFFFFFFFF;
#endif

constexpr uint32_t kEnd = SECCOMP_RET_KILL_PROCESS;
constexpr uint32_t kAllow = SECCOMP_RET_ALLOW;
constexpr uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;

// What is done where a call has a certain argument.
enum class When {
  kAlways,
  kIsOneOf,   ///< allowed where the argument is one of the two values
  kLacksOne,  ///< allowed unless the argument has all bits of the first value
  kLacksAll,  ///< allowed where the argument has none of them
  kIsNot,     ///< allowed where the argument is not the first value
  kIsOwnPid,  ///< allowed where the argument is the number of the process
};

struct Rule {
  uint32_t call;
  uint32_t action;  ///< always, or where it is not allowed
  When when = When::kAlways;
  size_t argument = 0;
  uint32_t values[2] = {};
};

constexpr uint32_t kWriting =
    O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND | (O_TMPFILE & ~O_DIRECTORY);

constexpr Rule kRules[] = {
    // What memory, the C library's loading of converters, and an abort need.
    {__NR_read, kAllow},
    {__NR_pread64, kAllow},
    {__NR_close, kAllow},
    {__NR_fstat, kAllow},
    {__NR_newfstatat, kAllow},
    {__NR_getdents64, kAllow},
    {__NR_lseek, kRefuse, When::kIsNot, 0, {STDERR_FILENO, 0}},
    {__NR_munmap, kAllow},
    {__NR_brk, kAllow},
    {__NR_mremap, kAllow},
    {__NR_madvise, kAllow},
    {__NR_futex, kAllow},
    {__NR_exit_group, kAllow},
    {__NR_exit, kAllow},
    {__NR_getpid, kAllow},
    {__NR_gettid, kAllow},
    {__NR_rt_sigprocmask, kAllow},
    {__NR_rt_sigaction, kAllow},
    {__NR_rt_sigreturn, kAllow},
    {__NR_getrandom, kAllow},
    {__NR_clock_gettime, kAllow},
    {__NR_restart_syscall, kAllow},
    {__NR_sched_yield, kAllow},
    {__NR_write, kRefuse, When::kIsOneOf, 0, {STDIN_FILENO, STDERR_FILENO}},
    {__NR_fcntl, kRefuse, When::kIsOneOf, 1, {F_GETFL, F_GETFL}},
    {__NR_prlimit64, kRefuse, When::kIsOneOf, 1, {RLIMIT_CPU, RLIMIT_CPU}},
    {__NR_tgkill, kEnd, When::kIsOwnPid, 0, {}},
    // Converters are mapped to be run as they are; nothing that was written may be run.
    {__NR_mmap, kRefuse, When::kLacksOne, 2, {PROT_WRITE | PROT_EXEC, 0}},
    {__NR_mprotect, kRefuse, When::kLacksAll, 2, {PROT_EXEC, 0}},
    {__NR_openat, kRefuse, When::kLacksAll, 2, {kWriting, 0}},
// What nobody calls here but an intruder.
#ifdef __NR_fork
    {__NR_fork, kEnd},
    {__NR_vfork, kEnd},
#endif
    {__NR_clone, kEnd},
    {__NR_clone3, kEnd},
    {__NR_execve, kEnd},
    {__NR_execveat, kEnd},
    {__NR_kill, kEnd},
    {__NR_tkill, kEnd},
    {__NR_rt_sigqueueinfo, kEnd},
    {__NR_rt_tgsigqueueinfo, kEnd},
    {__NR_pidfd_open, kEnd},
    {__NR_pidfd_send_signal, kEnd},
    {__NR_pidfd_getfd, kEnd},
    {__NR_ptrace, kEnd},
    {__NR_process_vm_readv, kEnd},
    {__NR_process_vm_writev, kEnd},
    {__NR_socket, kEnd},
    {__NR_socketpair, kEnd},
    {__NR_connect, kEnd},
    {__NR_bind, kEnd},
    {__NR_sendto, kEnd},
    {__NR_sendmsg, kEnd},
    {__NR_mount, kEnd},
    {__NR_umount2, kEnd},
    {__NR_pivot_root, kEnd},
    {__NR_chroot, kEnd},
    {__NR_unshare, kEnd},
    {__NR_setns, kEnd},
    {__NR_bpf, kEnd},
    {__NR_perf_event_open, kEnd},
    {__NR_userfaultfd, kEnd},
    {__NR_io_uring_setup, kEnd},
    {__NR_init_module, kEnd},
    {__NR_finit_module, kEnd},
    {__NR_kexec_load, kEnd},
    {__NR_keyctl, kEnd},
    {__NR_add_key, kEnd},
    {__NR_request_key, kEnd},
    {__NR_setuid, kEnd},
    {__NR_setresuid, kEnd},
    {__NR_setgid, kEnd},
    {__NR_setresgid, kEnd},
    {__NR_capset, kEnd},
};
constexpr size_t kRuleCount = std::size(kRules);

// The filter is made by the compiler: a run has no time for it.
class Program {
 public:
  constexpr Program() {
    Load(offsetof(seccomp_data, arch));
    Compare(BPF_JEQ, kArchitecture, 1, 0);
    Return(kEnd);
    Load(offsetof(seccomp_data, nr));
    Compare(BPF_JGE, kFirstForeign, 0, 1);
    Return(kEnd);
    Rule sorted[kRuleCount] = {};
    for (size_t i = 0; i < kRuleCount; ++i) {
      size_t place = i;
      for (; place > 0 && sorted[place - 1].call > kRules[i].call; --place) {
        sorted[place] = sorted[place - 1];
      }
      sorted[place] = kRules[i];
    }
    Search(sorted, kRuleCount);
  }

  std::vector<sock_filter> For(int own_pid) const {
    std::vector<sock_filter> statements(statements_, statements_ + size_);
    statements[own_pid_].k = static_cast<uint32_t>(own_pid);
    return statements;
  }

 private:
  constexpr void Add(int code, uint32_t value, size_t if_true = 0, size_t if_false = 0) {
    statements_[size_++] = {static_cast<uint16_t>(code), static_cast<uint8_t>(if_true),
                            static_cast<uint8_t>(if_false), value};
  }

  constexpr void Load(size_t offset) {
    Add(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
  }

  constexpr void Return(uint32_t action) { Add(BPF_RET | BPF_K, action); }

  // Compares what was loaded last with `value`, and skips `if_true` or `if_false` statements.
  constexpr void Compare(int how, uint32_t value, size_t if_true, size_t if_false) {
    Add(BPF_JMP | how | BPF_K, value, if_true, if_false);
  }

  // A search by halves: the kernel runs the filter for each call there is when it is set up, so a
  // list of comparisons would make each run noticeably slower.
  constexpr void Search(const Rule* first, size_t count) {
    const size_t start = size_++;
    const size_t half = count / 2;
    if (count == 1) {
      Apply(*first);
      Branch(start, BPF_JEQ, first->call, 0, size_ - start - 1);
      Return(kRefuse);
      return;
    }
    Search(first, half);
    Branch(start, BPF_JGE, first[half].call, size_ - start - 1, 0);
    Search(first + half, count - half);
  }

  // A comparison before statements that were added already.
  constexpr void Branch(size_t place, int how, uint32_t value, size_t if_true, size_t if_false) {
    const size_t end = size_;
    size_ = place;
    Compare(how, value, if_true, if_false);
    size_ = end;
  }

  constexpr void Apply(const Rule& rule) {
    if (rule.when == When::kAlways) {
      Return(rule.action);
      return;
    }
    // The lower half of the argument, on processors that store it first.
    Load(offsetof(seccomp_data, args) + rule.argument * sizeof(uint64_t));
    switch (rule.when) {
      case When::kAlways:
        break;
      case When::kIsOneOf:
        Compare(BPF_JEQ, rule.values[0], 2, 0);
        Compare(BPF_JEQ, rule.values[1], 1, 0);
        break;
      case When::kIsNot:
        Compare(BPF_JEQ, rule.values[0], 0, 1);
        break;
      case When::kIsOwnPid:
        own_pid_ = size_;
        Compare(BPF_JEQ, 0, 1, 0);
        break;
      case When::kLacksOne:
        Add(BPF_ALU | BPF_AND | BPF_K, rule.values[0]);
        Compare(BPF_JEQ, rule.values[0], 0, 1);
        break;
      case When::kLacksAll:
        Compare(BPF_JSET, rule.values[0], 0, 1);
        break;
    }
    Return(rule.action);
    Return(kAllow);
  }

  static constexpr size_t kMost = 6 + 8 * kRuleCount;
  sock_filter statements_[kMost] = {};
  size_t size_ = 0;
  size_t own_pid_ = 0;
};

constexpr Program kProgram;

}  // namespace

std::vector<sock_filter> system_call_filter(int own_pid) {
  if (kArchitecture == 0) return {};
  return kProgram.For(own_pid);
}

bool enter_system_call_filter() {
  std::vector<sock_filter> statements = system_call_filter(getpid());
  if (statements.empty()) return false;
  const sock_fprog program{static_cast<uint16_t>(statements.size()), statements.data()};
  return syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}
