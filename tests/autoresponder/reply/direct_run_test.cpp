#include "autoresponder/reply/direct_run.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../recorded_command.h"
#include "../../scratch_directory.h"
#include "support/base/signals.h"

namespace {

// Whether it was started; its output goes to `output`.
bool run_plainly(const std::string& line, std::string& output) {
  bool was_started = false;
  output = output_of([&] {
    auto command = plain_command(line);
    was_started = command && run_directly(std::move(*command));
  });
  return was_started;
}

class DirectRun : public testing::Test {
 protected:
  // The command must see the same both ways.
  void ExpectSame(const std::string& line) const {
    std::string direct;
    ASSERT_TRUE(run_plainly(line, direct)) << line;
    EXPECT_NE(direct, "") << line;
    EXPECT_EQ(direct, output_of_shell(line)) << line;
  }

  std::string InputFile() const {
    std::ofstream(scratch_.Path("input file")) << "the input\n";
    return scratch_.Path("input file");
  }

  // A command that only a shell can start.
  void ExpectLeftToTheShell(const std::string& line) const {
    std::string output;
    EXPECT_FALSE(run_plainly(line, output)) << line;
    EXPECT_EQ(output, "") << line;
  }

  ScratchDirectory scratch_;
  std::string recorder_ = COMMAND_RECORDER;
};

// Restores the environment.
class Environment {
 public:
  explicit Environment(std::vector<std::string> entries) : entries_(std::move(entries)) {
    for (std::string& entry : entries_) pointers_.push_back(entry.data());
    pointers_.push_back(nullptr);
    environ = pointers_.data();
  }
  ~Environment() { environ = before_; }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::vector<std::string> entries_;
  std::vector<char*> pointers_;
  char** before_ = environ;
};

TEST_F(DirectRun, GivesTheArgumentsThatAShellGives) {
  const std::string words[] = {"",       "''",    "-f",          "'a b'",    "a'b'c",  "'$x'",
                               "'\n'",   "a=b",   "'\xC3\xBC'",  "'\x81'",   "2",      "a@b,c",
                               "'~'",    "'*'",   "'\"'",        "'\\'",     "+%:/._", "''''",
                               "'\x88'", "'a'''", "'-'\tb'\t'c", "  x  \t y"};
  size_t compared = 0;
  for (const std::string& first : words) {
    for (const std::string& second : words) {
      ExpectSame(recorder_ + " " + first + " " + second);
      ++compared;
    }
  }
  EXPECT_EQ(compared, 484U);
}

TEST_F(DirectRun, GivesTheInputThatAShellGives) {
  const std::string input = InputFile();
  ExpectSame(recorder_ + " a <'" + input + "'");
  ExpectSame(recorder_ + " a < '" + input + "' ");
}

struct Entries : NamedRow {
  std::vector<std::string> entries;
};

class DirectEnvironment : public DirectRun, public testing::WithParamInterface<Entries> {};

TEST_P(DirectEnvironment, IsTheShells) {
  const Environment environment(GetParam().entries);
  ExpectSame(recorder_);
}

const Entries kEnvironments[] = {
    {{"None"}, {}},
    {{"Delivery"}, {"PATH=/bin", "RECIPIENT=d-a@b", "SENDER="}},
    {{"WrongDirectory"}, {"PWD=/nowhere"}},
    {{"OtherDirectory"}, {"PWD=/usr"}},
    {{"RelativeDirectory"}, {"PWD=."}},
    {{"EmptyDirectory"}, {"PWD="}},
    {{"ByALink"}, {"PWD=/proc/self/cwd"}},
    {{"OldDirectory"}, {"OLDPWD=/usr", "HOME=/root", "SHLVL=3", "_=/bin/x"}},
    {{"NoName"}, {"=x", "a-b=c", "1a=b", "a b=c", "no value", "\xC3\xBC=1", "BASH_FUNC_f%%=()"}},
    {{"Twice"}, {"A=1", "B=2", "A=3"}},
    {{"TwoDirectories"}, {"PWD=/proc/self/cwd", "PWD=/nowhere"}},
    {{"TheSecondDirectoryIsRight"}, {"PWD=/nowhere", "PWD=/proc/self/cwd"}},
    {{"EmptyValue"}, {"A="}},
    {{"AnyBytes"}, {"A=\xFF\x81 \n'\"$(x)"}},
    {{"SettingsOfTheShell"},
     {"PS1=x", "PS4=y", "MAIL=/z", "TERM=dumb", "ENV=/nowhere", "LC_ALL=C"}},
};

INSTANTIATE_TEST_SUITE_P(Rows, DirectEnvironment, testing::ValuesIn(kEnvironments),
                         [](const auto& row) { return row.param.name; });

class ShellsVariable : public DirectRun, public testing::WithParamInterface<const char*> {};

TEST_P(ShellsVariable, IsLeftToTheShell) {
  const Environment environment({std::string(GetParam()) + "=7"});
  ExpectLeftToTheShell(recorder_);
}

INSTANTIATE_TEST_SUITE_P(Names, ShellsVariable, testing::Values("IFS", "LINENO", "OPTIND", "PPID"),
                         [](const auto& row) { return std::string(row.param); });

TEST_F(DirectRun, GivesIgnoredSignalsAsAShellDoes) {
  for (int number = 1; number <= SIGRTMAX; ++number) {
    if (signal(number, SIG_IGN) == SIG_ERR) continue;
    ExpectSame(recorder_);
    signal(number, SIG_DFL);
  }
}

TEST_F(DirectRun, GivesBlockedAndHandledSignalsAsAShellDoes) {
  signal(SIGTERM, ignore_signal);
  {
    const SignalBlock all;
    ExpectSame(recorder_);
  }
  signal(SIGTERM, SIG_DFL);
}

TEST_F(DirectRun, GivesDirectoryAndMaskAsAShellDoes) {
  const mode_t mask = umask(0137);
  const auto directory = std::filesystem::current_path();
  std::filesystem::current_path("/");
  ExpectSame(recorder_);
  std::filesystem::current_path(directory);
  umask(mask);
}

TEST_F(DirectRun, LeavesTheCallersSignalsAsTheyWere) {
  signal(SIGINT, ignore_signal);
  std::string output;
  ASSERT_TRUE(run_plainly(recorder_, output));
  EXPECT_EQ(signal(SIGINT, SIG_DFL), ignore_signal);
  EXPECT_EQ(signal(SIGQUIT, SIG_DFL), SIG_DFL);
  sigset_t mask;
  sigprocmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGCHLD), 0);
}

TEST_F(DirectRun, InheritsADescriptorThatIsLeftOpen) {
  const OwnedDescriptor open_file(open("/dev/null", O_RDONLY));
  const OwnedDescriptor closed_file(open("/dev/zero", O_RDONLY | O_CLOEXEC));
  ExpectSame(recorder_);
  EXPECT_NE(output_of_shell(recorder_).find("/dev/null"), std::string::npos);
}

TEST_F(DirectRun, WaitsForTheEnd) {
  const std::string script = scratch_.Path("script");
  std::ofstream(script) << "#!/bin/sh\nsleep 0.2\necho done\n";
  chmod(script.c_str(), 0700);
  std::string output;
  ASSERT_TRUE(run_plainly(script, output));
  EXPECT_EQ(output, "done\n");
}

TEST_F(DirectRun, LeavesToTheShellWhatCannotBeStarted) {
  const std::string script = scratch_.Path("script");
  std::ofstream(script) << "echo done\n";
  ExpectLeftToTheShell(script);  // not executable
  chmod(script.c_str(), 0700);
  ExpectLeftToTheShell(script);  // no first line
  ExpectLeftToTheShell(scratch_.Path("nothing"));
  ExpectLeftToTheShell(recorder_ + " <" + scratch_.Path("nothing"));
  ExpectLeftToTheShell(recorder_ + " </dev/null");
  const std::string pipe = scratch_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ExpectLeftToTheShell(recorder_ + " <" + pipe);
}

TEST_F(DirectRun, LeavesVeryManyVariablesToTheShell) {
  std::vector<std::string> entries;
  for (int i = 0; i < 2000; ++i) entries.push_back("V" + std::to_string(i) + "=");
  const Environment environment(entries);
  ExpectLeftToTheShell(recorder_);
}

// The shell says so on standard error; of some signals it says nothing.
TEST_F(DirectRun, TellsOfADeathByASignalAsAShellDoes) {
  const std::string script = scratch_.Path("script");
  for (const int number :
       {SIGINT, SIGKILL, SIGSEGV, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGRTMIN}) {
    std::ofstream(script) << "#!/bin/sh\nulimit -c 0\nkill -" << number << " $$\n";
    chmod(script.c_str(), 0700);
    std::string output;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(run_plainly(script, output)) << number;
    const std::string direct = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    output_of_shell(script);
    EXPECT_EQ(direct, testing::internal::GetCapturedStderr()) << number;
  }
}

TEST_F(DirectRun, LeavesToTheShellADirectoryThatIsGone) {
  const auto directory = std::filesystem::current_path();
  const std::string gone = scratch_.Path("gone");
  std::filesystem::create_directory(gone);
  std::filesystem::current_path(gone);
  std::filesystem::remove(gone);
  ExpectLeftToTheShell(recorder_);
  std::filesystem::current_path(directory);
}

}  // namespace
