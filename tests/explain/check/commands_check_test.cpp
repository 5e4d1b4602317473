#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "../../scratch_directory.h"
#include "checked_database.h"
#include "support/conf.h"

namespace {

namespace fs = std::filesystem;

// A mail server whose commands can be started.
class Commands : public CheckedDatabase {
 protected:
  Commands() : qmail_(root_.Path("")) {
    fs::create_directory(root_.Path("bin"));
    Install("sendmail", 0755);
    Install("qmail-inject", 0755);
    Install("qmail-queue", 04711);
    QMAIL_ROOT_D = qmail_.c_str();
    inspection_.qmail_root = qmail_;
  }
  ~Commands() override { QMAIL_ROOT_D = nullptr; }

  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "the commands have to belong to root";
  }

  void Install(const std::string& name, mode_t mode) {
    const std::string path = root_.Path("bin/" + name);
    std::ofstream(path) << "#!/bin/sh\n";
    chmod(path.c_str(), mode);
  }

  // Without what this machine lacks elsewhere.
  std::string Codes() {
    CodesOf(check_commands);
    std::string codes;
    for (const Finding& finding : inspection_.findings) {
      const bool is_ours = finding.text.find(qmail_) != std::string::npos;
      if (is_ours) codes += std::string(codes.empty() ? "" : " ") + finding.code;
    }
    return codes;
  }

  ScratchDirectory root_;
  const std::string qmail_;
};

TEST_F(Commands, AreRight) {
  EXPECT_EQ(Codes(), "");
}

TEST_F(Commands, OfTheMailServerAreNeeded) {
  fs::remove(root_.Path("bin/sendmail"));
  fs::remove(root_.Path("bin/qmail-inject"));
  fs::remove(root_.Path("bin/qmail-queue"));
  EXPECT_EQ(Codes(), "sendmail_missing qmail_inject_missing qmail_queue_not_setuid");
}

TEST_F(Commands, CanBeStarted) {
  Install("sendmail", 0644);
  Install("qmail-inject", 0644);
  Install("qmail-queue", 04600);
  EXPECT_EQ(Codes(), "sendmail_missing qmail_inject_missing qmail_queue_not_setuid");
  fs::remove(root_.Path("bin/sendmail"));
  fs::create_directory(root_.Path("bin/sendmail"));
  EXPECT_EQ(Codes(), "sendmail_missing qmail_inject_missing qmail_queue_not_setuid");
}

TEST_F(Commands, BelongToRootAlone) {
  Install("sendmail", 0775);
  EXPECT_EQ(Codes(), "sendmail_writable");
  Install("sendmail", 0757);
  EXPECT_EQ(Codes(), "sendmail_writable");
}

TEST_F(Commands, IncludeAQueueOfAnotherUser) {
  Install("qmail-queue", 0711);
  EXPECT_EQ(Codes(), "qmail_queue_not_setuid");
}

}  // namespace
