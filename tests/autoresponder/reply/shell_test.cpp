#include "autoresponder/reply/shell.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "support/base/owned.h"

namespace {

constexpr Repairs kRepairs = all_repairs(true);

struct Use : NamedRow {
  Purpose purpose;
};

// Has a directory into which commands write.
class HandToShell : public testing::TestWithParam<Use> {
 protected:
  std::string Path(const char* name) const { return directory_.Path(name); }

  std::string Content(const char* name) const { return contents_of(Path(name)); }

  static ShellCommand Command(const Repairs& repairs = {}) { return {GetParam().purpose, repairs}; }

  // A command that writes `value` into the file "out".
  ShellCommand WriteValue(const std::string& value) const {
    ShellCommand command = Command();
    command.Text("printf %s ").Quoted(value).Text(" > ").Quoted(Path("out"));
    return command;
  }

  // Hands over a command and waits for its end.
  ShellOutcome Run(const ShellCommand& command) const {
    const ShellOutcome outcome = hand_to_shell(command);
    if (outcome.pipe != nullptr) pclose(outcome.pipe);
    return outcome;
  }

 private:
  ScratchDirectory directory_;
};

TEST_P(HandToShell, RunsTheExactLine) {
  const ShellOutcome outcome = Run(WriteValue("$HOME `id` \"x\" \\ ; # *"));
  EXPECT_FALSE(outcome.refused);
  EXPECT_EQ(Content("out"), "$HOME `id` \"x\" \\ ; # *");
}

TEST_P(HandToShell, LetsTheShellReadTheTexts) {
  ShellCommand command = Command();
  command.Text("for i in 1 2; do echo $i; done | sed 's/1/one/' > ");
  Run(command.Quoted(Path("out")));
  EXPECT_EQ(Content("out"), "one\n2\n");
}

TEST_P(HandToShell, RefusesAQuoteInAValue) {
  testing::internal::CaptureStderr();
  const ShellOutcome outcome = Run(WriteValue("';touch out2;'"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to run a command with a quote in: ';touch out2;'\n");
  EXPECT_TRUE(outcome.refused);
  EXPECT_EQ(outcome.pipe, nullptr);
}

TEST_P(HandToShell, ReportsANewlineInOneLine) {
  ShellCommand command = Command(kRepairs);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Run(command.Text("echo ").Quoted("a\r\n\tb\x7F")).refused);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to run a command with a newline in: a   b \n");
}

TEST_P(HandToShell, ReportsAnOptionInOneLine) {
  ShellCommand command = Command(kRepairs);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Run(command.Text("echo ").Address("-a\rb")).refused);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to mail to an option: -a b\n");
}

TEST_P(HandToShell, GivesAnEscapedQuoteToTheCommand) {
  ShellCommand command = Command(kRepairs);
  command.Text("printf %s ").Quoted("';touch out2;'").Text(" > ").Quoted(Path("out"));
  EXPECT_FALSE(Run(command).refused);
  EXPECT_EQ(Content("out"), "';touch out2;'");
}

TEST_P(HandToShell, RunsNothingOfARefusedCommand) {
  ShellCommand command = Command();
  command.Text("touch ").Quoted(Path("before")).Text("; echo ").Quoted("it's").Text("; touch ");
  command.Quoted(Path("after"));
  testing::internal::CaptureStderr();
  Run(command);
  testing::internal::GetCapturedStderr();
  EXPECT_FALSE(std::filesystem::exists(Path("before")));
  EXPECT_FALSE(std::filesystem::exists(Path("after")));
}

TEST_P(HandToShell, NamesTheFirstValueThatItRefuses) {
  ShellCommand command = Command();
  command.Text("echo ").Quoted("a'b").Text(" ").Quoted("c'd");
  testing::internal::CaptureStderr();
  Run(command);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to run a command with a quote in: a'b\n");
}

TEST_P(HandToShell, DoesNotLookAtTheStatus) {
  testing::internal::CaptureStderr();
  const ShellOutcome outcome = Run(Command().Text("exit 3"));
  EXPECT_FALSE(outcome.refused);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_P(HandToShell, WaitsForTheEndOfTheCommand) {
  ShellCommand command = Command();
  command.Text("sleep 0.1; echo done > ").Quoted(Path("out"));
  Run(command);
  EXPECT_EQ(Content("out"), "done\n");
}

constexpr Use kUses[] = {
    {"Reply", Purpose::kReply},
    {"Attach", Purpose::kAttach},
    {"Notify", Purpose::kNotify},
    {"Forward", Purpose::kForward},
};

INSTANTIATE_TEST_SUITE_P(Uses, HandToShell, testing::ValuesIn(kUses));

using HandToShellWithPipe = HandToShell;

TEST_P(HandToShellWithPipe, GivesTheInputOfTheCommand) {
  ShellCommand command = Command();
  command.Text("cat > ").Quoted(Path("out"));
  const ShellOutcome outcome = hand_to_shell(command);
  ASSERT_NE(outcome.pipe, nullptr);
  fputs("some text\n", outcome.pipe);
  pclose(outcome.pipe);
  EXPECT_EQ(Content("out"), "some text\n");
}

INSTANTIATE_TEST_SUITE_P(Uses, HandToShellWithPipe, testing::Values(kUses[2]));

using HandToShellWithoutPipe = HandToShell;

TEST_P(HandToShellWithoutPipe, GivesNoPipe) {
  EXPECT_EQ(hand_to_shell(Command().Text("true")).pipe, nullptr);
}

using HandToShellToWriteAFile = HandToShell;

TEST_P(HandToShellToWriteAFile, EndsACommandWhoseTimeIsOver) {
  ShellCommand command = Command();
  command.Text("(sleep 100; echo late > ").Quoted(Path("out")).Text(") & sleep 100");
  testing::internal::CaptureStderr();
  command.limits = {1000, std::chrono::seconds(1)};
  hand_to_shell(command);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: ended a command that took too long: " + command.line() + "\n");
  EXPECT_EQ(Content("out"), "");
}

TEST_P(HandToShellToWriteAFile, SaysWhetherTheCommandSucceeded) {
  EXPECT_TRUE(hand_to_shell(Command().Text("true")).succeeded);
  EXPECT_FALSE(hand_to_shell(Command().Text("exit 3")).succeeded);
  EXPECT_FALSE(hand_to_shell(Command().Text("kill -9 $$")).succeeded);
}

TEST_P(HandToShellToWriteAFile, LetsItInheritFiles) {
  const OwnedDescriptor first(open(Path("first").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  const OwnedDescriptor second(open(Path("second").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(write(first.number(), "one", 3), 3);
  ASSERT_EQ(write(second.number(), "two", 3), 3);
  ShellCommand command = Command();
  command.Text("cat ").Text(command.Inherit(second.number())).Text(" ");
  command.Text(command.Inherit(first.number())).Text(" > ").Quoted(Path("out"));
  EXPECT_EQ(command.line(), "cat /proc/self/fd/32 /proc/self/fd/33 > '" + Path("out") + "'");
  EXPECT_TRUE(hand_to_shell(command).succeeded);
  EXPECT_EQ(Content("out"), "twoone");
}

TEST_P(HandToShellToWriteAFile, FailsWhereAFileCannotBeInherited) {
  ShellCommand command = Command();
  command.Inherit(1 << 20);
  EXPECT_FALSE(hand_to_shell(command.Text("true")).succeeded);
}

TEST_P(HandToShellToWriteAFile, CutsAFileThatIsTooLarge) {
  ShellCommand command = Command();
  command.Text("head -c 5000 /dev/zero > ").Quoted(Path("out")).Text("; true");
  testing::internal::CaptureStderr();
  command.limits = {1000, std::chrono::seconds(10)};
  hand_to_shell(command);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Content("out").size(), 1000U);
}

INSTANTIATE_TEST_SUITE_P(Uses, HandToShellToWriteAFile, testing::Values(kUses[1]));

INSTANTIATE_TEST_SUITE_P(Uses, HandToShellWithoutPipe, testing::Values(kUses[0], kUses[1]));

}  // namespace
