#include "autoresponder/reader/system_call_filter.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <initializer_list>
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

// What memory, the C library's loading of converters, and an abort need.
constexpr uint32_t kHarmless[] = {
    __NR_read,           __NR_pread64,       __NR_close,
    __NR_fstat,          __NR_newfstatat,    __NR_lseek,
    __NR_munmap,         __NR_brk,           __NR_mremap,
    __NR_madvise,        __NR_futex,         __NR_exit_group,
    __NR_exit,           __NR_getpid,        __NR_gettid,
    __NR_rt_sigprocmask, __NR_rt_sigaction,  __NR_rt_sigreturn,
    __NR_getrandom,      __NR_clock_gettime, __NR_restart_syscall,
    __NR_sched_yield,
};

// What nobody calls here but an intruder.
constexpr uint32_t kHostile[] = {
#ifdef __NR_fork
    __NR_fork,
    __NR_vfork,
#endif
    __NR_clone,
    __NR_clone3,
    __NR_execve,
    __NR_execveat,
    __NR_kill,
    __NR_tkill,
    __NR_rt_sigqueueinfo,
    __NR_rt_tgsigqueueinfo,
    __NR_pidfd_open,
    __NR_pidfd_send_signal,
    __NR_pidfd_getfd,
    __NR_ptrace,
    __NR_process_vm_readv,
    __NR_process_vm_writev,
    __NR_socket,
    __NR_socketpair,
    __NR_connect,
    __NR_bind,
    __NR_listen,
    __NR_sendto,
    __NR_sendmsg,
    __NR_mount,
    __NR_umount2,
    __NR_pivot_root,
    __NR_chroot,
    __NR_unshare,
    __NR_setns,
    __NR_bpf,
    __NR_perf_event_open,
    __NR_userfaultfd,
    __NR_io_uring_setup,
    __NR_init_module,
    __NR_finit_module,
    __NR_kexec_load,
    __NR_keyctl,
    __NR_add_key,
    __NR_request_key,
    __NR_setuid,
    __NR_setresuid,
    __NR_setgid,
    __NR_setresgid,
    __NR_capset,
};

sock_filter statement(int code, size_t value) {
  return BPF_STMT(static_cast<uint16_t>(code), static_cast<uint32_t>(value));
}

// Compares what was loaded last with `value`, and skips `if_true` or `if_false` statements.
sock_filter compare(int how, uint32_t value, size_t if_true, size_t if_false) {
  return BPF_JUMP(static_cast<uint16_t>(BPF_JMP | how | BPF_K), value,
                  static_cast<uint8_t>(if_true), static_cast<uint8_t>(if_false));
}

sock_filter load(size_t offset) {
  return statement(BPF_LD | BPF_W | BPF_ABS, offset);
}

// The lower half of an argument, on processors that store it first.
constexpr size_t argument(size_t number) {
  return offsetof(seccomp_data, args) + number * sizeof(uint64_t);
}

class Program {
 public:
  explicit Program(std::vector<sock_filter> start) : statements_(std::move(start)) {}

  void Answer(uint32_t call, uint32_t action) {
    Add({compare(BPF_JEQ, call, 0, 1), statement(BPF_RET | BPF_K, action)});
  }

  // Allows the call where the argument is one of `values`, and otherwise does `action`.
  void AllowWith(uint32_t call, size_t number, std::initializer_list<int> values, uint32_t action) {
    const size_t length = 2 + 2 * values.size();
    Add({compare(BPF_JEQ, call, 0, length), load(argument(number))});
    for (const int value : values) {
      Add({compare(BPF_JEQ, static_cast<uint32_t>(value), 0, 1),
           statement(BPF_RET | BPF_K, kAllow)});
    }
    Add({statement(BPF_RET | BPF_K, action)});
  }

  // Allows the call unless the argument has all of `bits`.
  void AllowWithoutAll(uint32_t call, size_t number, uint32_t bits) {
    Add({compare(BPF_JEQ, call, 0, 5), load(argument(number)),
         statement(BPF_ALU | BPF_AND | BPF_K, bits), compare(BPF_JEQ, bits, 0, 1),
         statement(BPF_RET | BPF_K, kRefuse), statement(BPF_RET | BPF_K, kAllow)});
  }

  // Allows the call where the argument has none of `bits`.
  void AllowWithout(uint32_t call, size_t number, int bits) {
    Add({compare(BPF_JEQ, call, 0, 4), load(argument(number)),
         compare(BPF_JSET, static_cast<uint32_t>(bits), 0, 1), statement(BPF_RET | BPF_K, kRefuse),
         statement(BPF_RET | BPF_K, kAllow)});
  }

  std::vector<sock_filter> Otherwise(uint32_t action) {
    Add({statement(BPF_RET | BPF_K, action)});
    return std::move(statements_);
  }

 private:
  void Add(std::initializer_list<sock_filter> statements) {
    statements_.insert(statements_.end(), statements);
  }

  std::vector<sock_filter> statements_;
};

}  // namespace

std::vector<sock_filter> system_call_filter(int own_pid) {
  if (kArchitecture == 0) return {};
  Program program({load(offsetof(seccomp_data, arch)), compare(BPF_JEQ, kArchitecture, 1, 0),
                   statement(BPF_RET | BPF_K, kEnd), load(offsetof(seccomp_data, nr)),
                   compare(BPF_JGE, kFirstForeign, 0, 1), statement(BPF_RET | BPF_K, kEnd)});
  program.AllowWith(__NR_write, 0, {STDIN_FILENO, STDERR_FILENO}, kRefuse);
  for (const uint32_t call : kHarmless) program.Answer(call, kAllow);
  for (const uint32_t call : kHostile) program.Answer(call, kEnd);
  program.AllowWith(__NR_fcntl, 1, {F_GETFL}, kRefuse);
  program.AllowWith(__NR_tgkill, 0, {own_pid}, kEnd);
  program.AllowWith(__NR_prlimit64, 1, {RLIMIT_CPU}, kRefuse);
  // Converters are mapped to be run as they are; nothing that was written may be run.
  program.AllowWithoutAll(__NR_mmap, 2, PROT_WRITE | PROT_EXEC);
  program.AllowWithout(__NR_mprotect, 2, PROT_EXEC);
  program.AllowWithout(
      __NR_openat, 2,
      O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND | (O_TMPFILE & ~O_DIRECTORY));
  return program.Otherwise(kRefuse);
}

bool enter_system_call_filter() {
  std::vector<sock_filter> statements = system_call_filter(getpid());
  if (statements.empty()) return false;
  const sock_fprog program{static_cast<uint16_t>(statements.size()), statements.data()};
  return syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}
