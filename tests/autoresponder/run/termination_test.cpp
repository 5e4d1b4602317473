#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "autoresponder/run/process.h"
#include "autoresponder/run/temporary_files.h"

namespace {

// The paths of the two temporary files, which the process that makes them shares with the test.
struct Paths {
  char spool[64];
  char reply[64];
};

class TemporaryFilesDeathTest : public testing::Test {
 protected:
  TemporaryFilesDeathTest()
      : paths_(static_cast<Paths*>(mmap(nullptr, sizeof(Paths), PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  ~TemporaryFilesDeathTest() override { munmap(paths_, sizeof(Paths)); }

  // Makes both files, in the process that is about to end.
  void MakeFiles() {
    const SpoolFile spool = create_spool_file();
    create_response_file().Remove();
    const ResponseFile reply = create_response_file();
    strcpy(paths_->spool, spool.path().c_str());
    strcpy(paths_->reply, reply.path().c_str());
    for (const std::string& path : {spool.path(), reply.path()}) {
      const bool is_right =
          path.rfind("/tmp/kem-", 0) == 0 &&
          std::filesystem::status(path).permissions() == std::filesystem::perms(0600);
      if (!is_right) _exit(1);
    }
  }

  void ExpectFiles(bool exist) {
    for (const char* path : {paths_->spool, paths_->reply}) {
      ASSERT_NE(*path, '\0');
      EXPECT_EQ(std::filesystem::exists(path), exist) << path;
      std::filesystem::remove(path);
    }
  }

  void EndBy(int signal) {
    MakeFiles();
    remove_files_on_termination();
    raise(signal);
    _exit(1);
  }

  Paths* paths_;
};

TEST_F(TemporaryFilesDeathTest, AreRemovedAtTheEndOfARun) {
  EXPECT_EXIT((MakeFiles(), cleanup_and_exit()), testing::ExitedWithCode(0), "");
  ExpectFiles(false);
}

TEST_F(TemporaryFilesDeathTest, AreRemovedAtAnyExit) {
  EXPECT_EXIT((MakeFiles(), remove_files_on_termination(), exit(3)), testing::ExitedWithCode(3),
              "");
  ExpectFiles(false);
}

TEST_F(TemporaryFilesDeathTest, AreRemovedBySignalsThatEndAProcess) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1,
                           SIGUSR2, SIGXCPU, SIGIO, SIGPWR, SIGSTKFLT, SIGRTMIN, SIGRTMAX}) {
    EXPECT_EXIT(EndBy(signal), testing::KilledBySignal(signal), "");
    ExpectFiles(false);
  }
}

TEST_F(TemporaryFilesDeathTest, StayWhereTheProcessAborts) {
  const rlimit none{0, 0};
  EXPECT_EXIT((setrlimit(RLIMIT_CORE, &none), EndBy(SIGABRT)), testing::KilledBySignal(SIGABRT),
              "");
  ExpectFiles(true);
}

TEST_F(TemporaryFilesDeathTest, StayWhereTheCallerIgnoredTheSignal) {
  const auto ignore = [this] {
    signal(SIGTERM, SIG_IGN);
    prepare_process();
    EndBy(SIGTERM);
  };
  EXPECT_EXIT(ignore(), testing::ExitedWithCode(1), "");
  ExpectFiles(true);
}

}  // namespace
