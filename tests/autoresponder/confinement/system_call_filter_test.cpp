#include "autoresponder/confinement/system_call_filter.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <gtest/gtest.h>

#include "../../named_row.h"

namespace {

constexpr int kOwnPid = 4711;

#if defined(__x86_64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#else
constexpr uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#endif

// The filter's verdict on a call, computed as the kernel does.
uint32_t verdict(const std::vector<sock_filter>& program, const seccomp_data& data) {
  uint32_t loaded = 0;
  for (size_t i = 0; i < program.size(); ++i) {
    const sock_filter& statement = program[i];
    bool holds = false;
    switch (statement.code) {
      case BPF_LD | BPF_W | BPF_ABS:
        memcpy(&loaded, reinterpret_cast<const char*>(&data) + statement.k, sizeof loaded);
        continue;
      case BPF_RET | BPF_K:
        return statement.k;
      case BPF_JMP | BPF_JEQ | BPF_K:
        holds = loaded == statement.k;
        break;
      case BPF_JMP | BPF_JGE | BPF_K:
        holds = loaded >= statement.k;
        break;
      case BPF_JMP | BPF_JSET | BPF_K:
        holds = (loaded & statement.k) != 0;
        break;
      default:
        ADD_FAILURE() << "statement " << i << " is unknown";
        return 0;
    }
    i += holds ? statement.jt : statement.jf;
  }
  ADD_FAILURE() << "the program has no end";
  return 0;
}

enum Verdict : uint32_t {
  kAllowed = SECCOMP_RET_ALLOW,
  kRefused = SECCOMP_RET_ERRNO | EPERM,
  kEnded = SECCOMP_RET_KILL_PROCESS,
};

struct Call : NamedRow {
  int number;
  uint64_t arguments[4];
  Verdict want;
};

constexpr uint64_t kHigh = uint64_t{1} << 32;
constexpr uint64_t kRead = PROT_READ;
constexpr uint64_t kWrite = PROT_READ | PROT_WRITE;
constexpr uint64_t kRun = PROT_READ | PROT_EXEC;
constexpr uint64_t kAnonymous = MAP_PRIVATE | MAP_ANONYMOUS;

const Call kCalls[] = {
    {"Read", SYS_read, {0}, kAllowed},
    {"WriteToTheRun", SYS_write, {0}, kAllowed},
    {"WriteToStandardOutput", SYS_write, {1}, kRefused},
    {"WriteToStandardError", SYS_write, {2}, kRefused},
    {"OpenToRead", SYS_openat, {0, 0, O_RDONLY | O_CLOEXEC}, kAllowed},
    {"OpenToWrite", SYS_openat, {0, 0, O_RDWR}, kRefused},
    {"Create", SYS_openat, {0, 0, O_CREAT}, kRefused},
    {"TakeMemory", SYS_mmap, {0, 4096, kWrite, kAnonymous}, kAllowed},
    {"TakeMemoryAtAPlace", SYS_mmap, {4096, 4096, kWrite, kAnonymous | MAP_FIXED}, kAllowed},
    {"MapAFile", SYS_mmap, {0, 4096, kRead, MAP_PRIVATE}, kAllowed},
    {"RunAFile", SYS_mmap, {0, 4096, kRun, MAP_PRIVATE | MAP_FIXED}, kAllowed},
    {"RunMemory", SYS_mmap, {0, 4096, kRun, kAnonymous}, kRefused},
    {"WriteAndRunAFile", SYS_mmap, {0, 4096, kWrite | PROT_EXEC, MAP_PRIVATE}, kRefused},
    {"ShareMemory", SYS_mmap, {0, 4096, kWrite, MAP_SHARED | MAP_ANONYMOUS}, kRefused},
    {"ShareMemoryToRun", SYS_mmap, {0, 4096, kRun, MAP_SHARED | MAP_ANONYMOUS}, kRefused},
    {"ShareAFile", SYS_mmap, {0, 4096, kRead, MAP_SHARED}, kRefused},
    {"ShareAFileToRun", SYS_mmap, {0, 4096, kRun, MAP_SHARED}, kRefused},
    {"ShareValidated", SYS_mmap, {0, 4096, kRead, MAP_SHARED_VALIDATE}, kRefused},
    {"MakeWritable", SYS_mprotect, {0, 4096, kWrite}, kAllowed},
    {"MakeRunnable", SYS_mprotect, {0, 4096, kRun}, kRefused},
    {"Grow", SYS_mremap, {4096, 4096, 8192, MREMAP_MAYMOVE}, kAllowed},
    {"MapOnceMore", SYS_mremap, {4096, 0, 4096, MREMAP_MAYMOVE}, kRefused},
    {"MapOnceMoreByASizeThatWraps", SYS_mremap, {4096, ~uint64_t{0}, 4096, 1}, kRefused},
    {"GrowWhatIsLarge", SYS_mremap, {4096, kHigh | 4096, 8192, MREMAP_MAYMOVE}, kRefused},
    {"MoveToAPlace", SYS_mremap, {4096, 4096, 4096, MREMAP_MAYMOVE | MREMAP_FIXED}, kRefused},
    {"AskForFlags", SYS_fcntl, {0, F_GETFL}, kAllowed},
    {"Duplicate", SYS_fcntl, {0, F_DUPFD}, kRefused},
    {"Abort", SYS_tgkill, {kOwnPid}, kAllowed},
    {"SignalAnother", SYS_tgkill, {kOwnPid - 1}, kEnded},
    {"LimitAnother", SYS_prlimit64, {1, RLIMIT_CPU}, kRefused},
    {"LiftALimit", SYS_prlimit64, {0, RLIMIT_CPU}, kRefused},
    {"CopyFiles", SYS_sendfile, {0}, kRefused},
    {"Fork", SYS_clone, {0}, kEnded},
    {"Run", SYS_execve, {0}, kEnded},
    {"Socket", SYS_socket, {0}, kEnded},
    {"Trace", SYS_ptrace, {0}, kEnded},
    {"Last", 1000, {0}, kRefused},
};

class SystemCallFilter : public testing::TestWithParam<Call> {};

TEST_P(SystemCallFilter, Says) {
  const Call& call = GetParam();
  seccomp_data data{};
  data.nr = call.number;
  data.arch = kArchitecture;
  for (size_t i = 0; i < 4; ++i) data.args[i] = call.arguments[i];
  EXPECT_EQ(verdict(system_call_filter(kOwnPid), data), uint32_t{call.want});
}

INSTANTIATE_TEST_SUITE_P(Rows, SystemCallFilter, testing::ValuesIn(kCalls),
                         [](const auto& row) { return row.param.name; });

TEST(SystemCallFilterOf, EndsWhatCallsByAnotherInterface) {
  seccomp_data data{};
  data.nr = SYS_read;
  data.arch = AUDIT_ARCH_I386;
  EXPECT_EQ(verdict(system_call_filter(kOwnPid), data), uint32_t{kEnded});
#ifdef __x86_64__
  data.arch = kArchitecture;
  data.nr = 0x40000000;
  EXPECT_EQ(verdict(system_call_filter(kOwnPid), data), uint32_t{kEnded});
#endif
}

TEST(SystemCallFilterOf, IsShortEnoughForTheKernel) {
  EXPECT_GT(system_call_filter(1).size(), 100u);
  EXPECT_LT(system_call_filter(1).size(), 4096u);
}

// The kernel refuses a program that jumps beyond its end.
TEST(SystemCallFilterOf, JumpsWithinItself) {
  const auto program = system_call_filter(1);
  for (size_t i = 0; i < program.size(); ++i) {
    if (BPF_CLASS(program[i].code) != BPF_JMP) continue;
    EXPECT_LT(i + 1 + program[i].jt, program.size());
    EXPECT_LT(i + 1 + program[i].jf, program.size());
  }
}

}  // namespace
