#include "autoresponder/reply/pipe_stream.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../scratch_directory.h"

namespace {

bool popen_fails = false;

}  // namespace

// Replaces the C library's function. A real shortage of descriptors would hit the sanitizers too.
extern "C" FILE* popen(const char* command, const char* mode) {
  if (popen_fails) {
    errno = EMFILE;
    return nullptr;
  }
  using Popen = FILE* (*)(const char*, const char*);
  return reinterpret_cast<Popen>(dlsym(RTLD_NEXT, "popen"))(command, mode);
}

namespace {

// Has a directory into which commands write, and handles SIGPIPE as a run does.
class PipeStream : public testing::Test {
 protected:
  PipeStream() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGPIPE, &action, &before_);
  }
  ~PipeStream() override { sigaction(SIGPIPE, &before_, nullptr); }

  std::string Path(const char* name) const { return directory_.Path(name); }

  std::string Content(const char* name) const { return contents_of(Path(name)); }

  // A command that stores its input in the file "out".
  ShellCommand Store() const {
    return ShellCommand(Purpose::kNotify, {}).Text("cat > ").Quoted(Path("out"));
  }

 private:
  ScratchDirectory directory_;
  struct sigaction before_ {};
};

TEST_F(PipeStream, WritesLinesIntoTheCommand) {
  {
    opipestream out(Store());
    EXPECT_FALSE(out.fail());
    EXPECT_FALSE(out.refused());
    out << "To: "
        << "info@example.com" << std::endl
        << std::endl
        << 42 << std::endl;
  }
  EXPECT_EQ(Content("out"), "To: info@example.com\n\n42\n");
}

TEST_F(PipeStream, FlushesEachLineAtOnce) {
  opipestream out(ShellCommand(Purpose::kNotify, {})
                      .Text("read line; echo \"$line\" > ")
                      .Quoted(Path("line"))
                      .Text("; cat > /dev/null"));
  out << "first" << std::endl;
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (Content("line") != "first\n" && std::chrono::steady_clock::now() < give_up) usleep(1000);
  EXPECT_EQ(Content("line"), "first\n");
}

TEST_F(PipeStream, WritesMoreThanItsBufferHolds) {
  const std::string text(1000000, 'x');
  {
    opipestream out(Store());
    out << text << std::endl;
  }
  EXPECT_TRUE(Content("out") == text + "\n");
}

TEST_F(PipeStream, WritesEveryByte) {
  const std::string text("a\0b\r\n\xFF", 6);
  {
    opipestream out(Store());
    out << text << std::flush;
  }
  EXPECT_EQ(Content("out"), text);
}

// Kept: the pipe is closed before the buffer is flushed.
TEST_F(PipeStream, LosesWhatWasNotFlushed) {
  {
    opipestream out(Store());
    out << "first" << std::endl << "second\n";
  }
  EXPECT_EQ(Content("out"), "first\n");
}

TEST_F(PipeStream, WaitsForTheEndOfTheCommand) {
  {
    opipestream out(ShellCommand(Purpose::kNotify, {})
                        .Text("cat > /dev/null; sleep 0.1; echo done > ")
                        .Quoted(Path("out")));
    out << "text" << std::endl;
  }
  EXPECT_EQ(Content("out"), "done\n");
}

TEST_F(PipeStream, IgnoresTheStatusOfTheCommand) {
  testing::internal::CaptureStderr();
  {
    opipestream out(ShellCommand(Purpose::kNotify, {}).Text("cat > /dev/null; exit 7"));
    out << "text" << std::endl;
    EXPECT_FALSE(out.fail());
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// The shell starts, so there is a pipe; the shell reports the command.
TEST_F(PipeStream, HasNotFailedWhenTheShellCannotStartTheCommand) {
  testing::internal::CaptureStderr();
  {
    opipestream out(ShellCommand(Purpose::kNotify, {}).Text("/nonexistent/sendmail -t"));
    EXPECT_FALSE(out.fail());
    out << "lost" << std::endl;
  }
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("/nonexistent/sendmail"));
}

TEST_F(PipeStream, OutlivesACommandThatExitsAtOnce) {
  opipestream out(ShellCommand(Purpose::kNotify, {}).Text("exit 0"));
  for (int i = 0; i < 1000000 && out.good(); ++i) out << "a line that nobody reads" << std::endl;
  EXPECT_FALSE(out.good());
}

TEST_F(PipeStream, FailsForARefusedCommand) {
  testing::internal::CaptureStderr();
  {
    opipestream out(ShellCommand(Purpose::kNotify, {}).Text("cat > ").Quoted(Path("it's")));
    EXPECT_TRUE(out.fail());
    EXPECT_TRUE(out.refused());
    out << "lost" << std::endl;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to run a command with a quote in: " + Path("it's") + "\n");
  EXPECT_FALSE(std::filesystem::exists(Path("it's")));
}

// During its lifetime no pipe can be opened.
class NoPipes {
 public:
  NoPipes() { popen_fails = true; }
  ~NoPipes() { popen_fails = false; }
  NoPipes(const NoPipes&) = delete;
  NoPipes& operator=(const NoPipes&) = delete;
};

TEST_F(PipeStream, FailsWithoutAPipe) {
  const ShellCommand command = Store();
  const NoPipes none;
  opipestream out(command);
  EXPECT_TRUE(out.fail());
  EXPECT_FALSE(out.refused());
}

TEST_F(PipeStream, WritesNothingOnceItHasFailed) {
  const ShellCommand command = Store();
  {
    const NoPipes none;
    opipestream out(command);
    out << "lost" << std::endl;
    EXPECT_TRUE(out.fail());
  }
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

int closed = 0;

struct CountingCloseStrategy {
  static void Close(FILE* handle) {
    ++closed;
    fclose(handle);
  }
};

using CountingStream = basic_handlestream<CountingCloseStrategy, OutputStreamStrategy>;

TEST_F(PipeStream, ClosesItsHandleOnce) {
  closed = 0;
  {
    CountingStream out(fopen(Path("out").c_str(), "w"));
    out << "text" << std::flush;
    EXPECT_EQ(closed, 0);
  }
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(Content("out"), "text");
}

TEST_F(PipeStream, ClosesNothingWhenItHasFailed) {
  closed = 0;
  {
    const CountingStream out(nullptr);
    EXPECT_TRUE(out.fail());
  }
  EXPECT_EQ(closed, 0);
}

}  // namespace
