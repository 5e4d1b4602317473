#include "autoresponder/run/spool.h"

#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../interruptions.h"
#include "../../memory_file.h"

namespace {

struct Pipe {
  explicit Pipe(int flags = 0) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC | flags), 0);
    out = OwnedDescriptor(ends[0]);
    in = OwnedDescriptor(ends[1]);
  }

  OwnedDescriptor out{-1};  // where one reads
  OwnedDescriptor in{-1};   // where one writes
};

// For a second thread, which the signals are not meant for.
void sleep_without_signals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

class Spool : public testing::Test {
 protected:
  // Takes `input` for standard input; returns the message.
  std::string Take(int input) {
    const OwnedDescriptor before(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    dup2(input, STDIN_FILENO);
    MessageBuffer message = spool_standard_input(spool_);
    dup2(before.number(), STDIN_FILENO);
    return message.Take<std::string>();
  }

  int memory_ = memfd_create("spool", MFD_CLOEXEC);
  SpoolFile spool_{memory_, "no name"};
};

TEST_F(Spool, HoldsANewlineForAnEmptyInput) {
  EXPECT_EQ(Take(OwnedDescriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).number()), "\n");
  EXPECT_EQ(contents_of(memory_), "\n");
  EXPECT_TRUE(spool_.IsWhole());
}

TEST_F(Spool, HoldsTheWholeInputAndANewline) {
  const OwnedDescriptor input(memfd_create("input", MFD_CLOEXEC));
  std::string text;
  for (int i = 0; i < 50000; ++i) text += std::to_string(i);
  ASSERT_EQ(write(input.number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  lseek(input.number(), 0, SEEK_SET);
  EXPECT_EQ(Take(input.number()), text + "\n");
  EXPECT_EQ(contents_of(memory_), text + "\n");
}

TEST_F(Spool, WaitsForAnInputThatIsNotThereYet) {
  for (const int flags : {0, O_NONBLOCK}) {
    Pipe pipe(flags);
    std::thread writer([&pipe] {
      sleep_without_signals();
      EXPECT_EQ(write(pipe.in.number(), "late", 4), 4);
      pipe.in = OwnedDescriptor(-1);
    });
    const Interruptions often;
    EXPECT_EQ(Take(pipe.out.number()), "late\n") << flags;
    writer.join();
  }
}

TEST_F(Spool, EndsWhereTheInputCannotBeRead) {
  EXPECT_EQ(Take(OwnedDescriptor(open("/", O_RDONLY | O_CLOEXEC)).number()), "\n");
}

TEST_F(Spool, IsNotWholeWhereTheDiskTakesNothing) {
  SpoolFile full(open("/dev/full", O_WRONLY | O_CLOEXEC), "/dev/full");
  full.Write("", 0);
  EXPECT_TRUE(full.IsWhole());
  full.Write("x", 1);
  EXPECT_FALSE(full.IsWhole());
}

TEST_F(Spool, GoesOnAfterASignal) {
  Pipe pipe;
  const std::string much(200000, 'x');
  std::thread reader([&pipe, &much] {
    sleep_without_signals();
    std::string got;
    char block[4096];
    while (got.size() < much.size()) {
      const ssize_t length = read(pipe.out.number(), block, sizeof block);
      if (length <= 0) break;
      got.append(block, static_cast<size_t>(length));
    }
    EXPECT_EQ(got, much);
  });
  {
    const Interruptions often;
    SpoolFile spool(fcntl(pipe.in.number(), F_DUPFD_CLOEXEC, 0), "a pipe");
    spool.Write(much.data(), much.size());
    EXPECT_TRUE(spool.IsWhole());
  }
  pipe.in = OwnedDescriptor(-1);
  reader.join();
}

}  // namespace
