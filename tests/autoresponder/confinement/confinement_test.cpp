#include "autoresponder/confinement/confinement.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

TEST(Confinement, GivesTimeInProportionToTheMessage) {
  EXPECT_EQ(processor_limit(2048), 2u);
  EXPECT_EQ(processor_limit(kMegabyte), 34u);
}

TEST(Confinement, GivesMemoryInProportionToTheMessage) {
  EXPECT_EQ(memory_limit(0), 64 * kMegabyte);
  EXPECT_EQ(memory_limit(kMegabyte), 112 * kMegabyte);
}

TEST(Confinement, AlwaysGivesUpPrivileges) {
  EXPECT_NE(wanted_confinements() & bit(Confinement::kNoPrivileges), 0u);
}

// What a confined process finds out about itself.
struct Found {
  ConfinementSet reached;
  rlim_t limits[7];
  int dumpable;
  int no_new_privileges;
  int signal_of_parent;
  int standard_output;  // what asking for its flags gives
  int other_descriptor;
  char environment;
  int error_of_passwd;  // the error number of opening it
  uid_t user;
};

constexpr decltype(RLIMIT_CPU) kLimits[] = {RLIMIT_FSIZE, RLIMIT_NOFILE, RLIMIT_CORE, RLIMIT_CPU,
                                            RLIMIT_NPROC, RLIMIT_DATA,   RLIMIT_AS};

// Runs in the confined process, whose connection is now descriptor 0.
void look_around(Found& found, int other, const char* environment) {
  for (size_t i = 0; i < std::size(kLimits); ++i) {
    rlimit limit{};
    getrlimit(kLimits[i], &limit);
    found.limits[i] = limit.rlim_max;
  }
  found.dumpable = prctl(PR_GET_DUMPABLE, 0, 0, 0, 0);
  found.no_new_privileges = prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0);
  prctl(PR_GET_PDEATHSIG, &found.signal_of_parent, 0, 0, 0);
  found.standard_output = fcntl(STDOUT_FILENO, F_GETFD);
  found.other_descriptor = fcntl(other, F_GETFD);
  found.environment = *environment;
  const int passwd = open("/etc/passwd", O_RDONLY | O_CLOEXEC);
  found.error_of_passwd = passwd < 0 ? errno : 0;
  found.user = getuid();
}

Found found_when_confined(ConfinementSet wanted, size_t size) {
  int connection[2] = {};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, connection), 0);
  setenv("KEM_TEST", "secret", 1);
  const char* const environment = getenv("KEM_TEST");
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    Found found{};
    found.reached = confine(wanted, connection[1], size, parent);
    look_around(found, connection[0], environment);
    _exit(write(STDIN_FILENO, &found, sizeof found) == sizeof found ? 0 : 1);
  }
  close(connection[1]);
  Found found{};
  EXPECT_EQ(read(connection[0], &found, sizeof found), static_cast<ssize_t>(sizeof found));
  close(connection[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return found;
}

TEST(AConfinedProcess, KeepsNothingOfTheRun) {
  const Found found = found_when_confined(bit(Confinement::kNoPrivileges), 1000);
  EXPECT_EQ(found.reached, bit(Confinement::kNoPrivileges));
  EXPECT_EQ(found.dumpable, 0);
  EXPECT_EQ(found.no_new_privileges, 1);
  EXPECT_EQ(found.signal_of_parent, SIGKILL);
  EXPECT_EQ(found.standard_output, -1);
  EXPECT_EQ(found.other_descriptor, -1);
  EXPECT_EQ(found.environment, '\0');
  EXPECT_EQ(found.error_of_passwd, 0);
  EXPECT_EQ(found.user, getuid());
}

TEST(AConfinedProcess, HasLimits) {
  const Found found = found_when_confined(bit(Confinement::kLimits), kMegabyte);
  EXPECT_NE(found.reached & bit(Confinement::kLimits), 0U);
  EXPECT_EQ(found.limits[0], 0U) << "sizes of files";
  EXPECT_EQ(found.limits[1], 16U) << "descriptors";
  EXPECT_EQ(found.limits[2], 0U) << "cores";
  EXPECT_EQ(found.limits[3], 34U) << "seconds";
  EXPECT_EQ(found.limits[4], 0U) << "processes";
#ifndef __SANITIZE_ADDRESS__
  EXPECT_EQ(found.limits[5], 120 * kMegabyte) << "memory";
  EXPECT_EQ(found.limits[6], 136 * kMegabyte) << "address space";
#endif
}

TEST(AConfinedProcess, ReadsNoFileOutsideOfTheConverters) {
  const Found found = found_when_confined(bit(Confinement::kFileRules), 1000);
  if ((found.reached & bit(Confinement::kFileRules)) == 0) GTEST_SKIP() << "no Landlock here";
  EXPECT_EQ(found.error_of_passwd, EACCES);
}

TEST(AConfinedProcess, IsAnotherUser) {
  if (getuid() != 0) GTEST_SKIP() << "only root can become another user";
  const Found found = found_when_confined(bit(Confinement::kIdentity), 1000);
  EXPECT_NE(found.reached & bit(Confinement::kIdentity), 0U);
  EXPECT_TRUE(found.user >= 0xB0000000U || found.user == 65534U) << found.user;
}

}  // namespace
