#include "autoresponder/confinement/system_call_filter.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
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

// A condition on one argument of a call.
struct Condition {
  enum Kind { kNone, kEquals, kLacks, kIsOwnPid, kIsSize };

  Kind kind = kNone;
  size_t argument = 0;
  uint32_t value = 0;
};

// The lower half of the argument has this value.
constexpr Condition equals(size_t argument, uint32_t value) {
  return {Condition::kEquals, argument, value};
}

// It has none of these bits.
constexpr Condition lacks(size_t argument, uint32_t bits) {
  return {Condition::kLacks, argument, bits};
}

constexpr Condition is_own_pid(size_t argument) {
  return {Condition::kIsOwnPid, argument, 0};
}

// The whole argument is neither 0 nor 4 GiB or more.
constexpr Condition is_size(size_t argument) {
  return {Condition::kIsSize, argument, 0};
}

// What is done at a call, unless all conditions of a rule hold: then it is allowed. A call may have
// several rules.
struct Rule {
  uint32_t call;
  uint32_t action;
  Condition conditions[2];
};

constexpr Rule allow(uint32_t call) {
  return {call, kAllow, {}};
}

constexpr Rule only_if(uint32_t call, Condition first, Condition second = {}) {
  return {call, kRefuse, {first, second}};
}

constexpr Rule end_at(uint32_t call) {
  return {call, kEnd, {}};
}

constexpr Rule end_unless(uint32_t call, Condition condition) {
  return {call, kEnd, {condition}};
}

constexpr uint32_t kWriting =
    O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND | (O_TMPFILE & ~O_DIRECTORY);

constexpr Rule kRules[] = {
    // What memory, the C library's loading of converters, and an abort need.
    allow(__NR_read),
    allow(__NR_pread64),
    allow(__NR_close),
    allow(__NR_fstat),
    allow(__NR_newfstatat),
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
    // Nothing that was written may be run: only files are, as they are. And nothing is shared,
    // because of a shared page there could be one mapping to write to and another one to run.
    only_if(__NR_mmap, lacks(2, PROT_EXEC), lacks(3, MAP_SHARED)),
    only_if(__NR_mmap, lacks(2, PROT_WRITE), lacks(3, MAP_SHARED | MAP_ANONYMOUS)),
    only_if(__NR_mprotect, lacks(2, PROT_EXEC)),
    // Of size 0 it would make a second mapping of the same pages; and whoever may choose the place
    // can take a page table for each page.
    only_if(__NR_mremap, is_size(1), lacks(3, ~uint32_t{MREMAP_MAYMOVE})),
// What nobody calls here but an intruder.
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
  // list of comparisons would make each run noticeably slower. `first`: sorted by their calls.
  constexpr void Search(const Rule* first, size_t count) {
    const size_t start = size_++;
    if (first->call == first[count - 1].call) {
      for (size_t i = 0; i < count; ++i) Alternative(first[i]);
      Return(first->action);
      Branch(start, BPF_JEQ, first->call, 0, size_ - start - 1);
      Return(kRefuse);
      return;
    }
    size_t half = count / 2;
    while (half > 0 && first[half].call == first[half - 1].call) --half;
    while (half == 0 || first[half].call == first[half - 1].call) ++half;
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

  static constexpr size_t StatementsOf(const Condition& condition) {
    if (condition.kind == Condition::kNone) return 0;
    return condition.kind == Condition::kIsSize ? 4 : 2;
  }

  // Allows the call if it has conditions and all hold; otherwise goes on after that.
  constexpr void Alternative(const Rule& rule) {
    if (rule.conditions[0].kind == Condition::kNone) return;
    const size_t after_second = 1;
    const size_t after_first = StatementsOf(rule.conditions[1]) + after_second;
    Require(rule.conditions[0], after_first);
    Require(rule.conditions[1], after_second);
    Return(kAllow);
  }

  // Skips `others` statements after its own unless the condition holds.
  constexpr void Require(const Condition& condition, size_t others) {
    // The lower half of an argument comes first on the processors that we know.
    const size_t lower = offsetof(seccomp_data, args) + condition.argument * sizeof(uint64_t);
    switch (condition.kind) {
      case Condition::kNone:
        break;
      case Condition::kEquals:
        Load(lower);
        Compare(BPF_JEQ, condition.value, 0, others);
        break;
      case Condition::kLacks:
        Load(lower);
        Compare(BPF_JSET, condition.value, others, 0);
        break;
      case Condition::kIsOwnPid:
        Load(lower);
        own_pid_ = size_;
        Compare(BPF_JEQ, 0, 0, others);
        break;
      case Condition::kIsSize:
        Load(lower + sizeof(uint32_t));
        Compare(BPF_JEQ, 0, 0, 2 + others);
        Load(lower);
        Compare(BPF_JEQ, 0, others, 0);
        break;
    }
  }

  static constexpr size_t kMaxStatements = 6 + 10 * kRuleCount;
  sock_filter statements_[kMaxStatements] = {};
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
