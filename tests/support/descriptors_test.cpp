#include "support/base/descriptors.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <gtest/gtest.h>

namespace {

// As in a container whose filter does not know the call.
void refuse_close_range() {
  sock_filter statements[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{4, statements};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0) _exit(2);
}

bool is_open(int descriptor) {
  return fcntl(descriptor, F_GETFD) >= 0;
}

// The caller may have opened descriptors before it lowered the limit.
void close_those_above_the_limit() {
  constexpr int kHigh = 900;
  dup2(STDERR_FILENO, kHigh);
  const rlimit low{100, 100};
  setrlimit(RLIMIT_NOFILE, &low);
  refuse_close_range();
  close_descriptors(STDERR_FILENO + 1);
  _exit(is_open(kHigh) || !is_open(STDERR_FILENO) ? 1 : 0);
}

TEST(DescriptorsDeathTest, AreClosedAboveTheLimitWhereTheSystemCannotCloseARange) {
  EXPECT_EXIT(close_those_above_the_limit(), testing::ExitedWithCode(0), "");
}

}  // namespace
