#include "autoresponder/reader/reader_process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../interruptions.h"
#include "autoresponder/reader/reader_failure.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLong{60000};
constexpr milliseconds kShort{300};

std::string receive(ReaderProcess& reader, size_t length, milliseconds time = kLong) {
  reader.Allow(time);
  std::string bytes(length, '\0');
  reader.Receive(&bytes[0], length);
  return bytes;
}

void write_text(int channel, const std::string& text) {
  for (size_t at = 0; at < text.size();) {
    const ssize_t written = write(channel, &text[at], text.size() - at);
    if (written <= 0) _exit(1);
    at += static_cast<size_t>(written);
  }
}

// Waits by `read`, which the filter allows.
[[noreturn]] void sleep_for_ever(int channel, ConfinementSet /*reached*/) {
  for (char byte = 0;;) {
    if (read(channel, &byte, 1) <= 0) _exit(0);
  }
}

bool has_children() {
  return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

TEST(ReaderProcess, SaysWhatItHasToSay) {
  ReaderProcess reader(
      [](int channel, ConfinementSet /*reached*/) { write_text(channel, "Hello"); }, 0);
  EXPECT_EQ(receive(reader, 2), "He");
  EXPECT_EQ(receive(reader, 3), "llo");
}

TEST(ReaderProcess, SaysMuch) {
  const std::string much(1000000, 'x');
  ReaderProcess reader(
      [&much](int channel, ConfinementSet /*reached*/) { write_text(channel, much + "end"); }, 0);
  EXPECT_EQ(receive(reader, much.size()), much);
  EXPECT_EQ(receive(reader, 3), "end");
}

TEST(ReaderProcess, IsHeardThroughSignals) {
  const Interruptions often;
  ReaderProcess reader(
      [](int channel, ConfinementSet /*reached*/) {
        std::this_thread::sleep_for(kShort / 4);
        write_text(channel, "Hello");
      },
      0, /*wanted=*/0);
  EXPECT_EQ(receive(reader, 5), "Hello");
}

TEST(ReaderProcess, IsTold) {
  ReaderProcess reader(
      [](int channel, ConfinementSet /*reached*/) {
        char bytes[5];
        if (read(channel, bytes, sizeof bytes) == 5) write_text(channel, std::string(bytes, 5));
      },
      0);
  reader.Allow(kLong);
  reader.Send("Hello", 5);
  EXPECT_EQ(receive(reader, 5), "Hello");
}

TEST(ReaderProcess, FailsWhereItEndsEarly) {
  ReaderProcess reader([](int channel, ConfinementSet /*reached*/) { write_text(channel, "Hell"); },
                       0);
  EXPECT_THROW(receive(reader, 5), ReaderFailure);
}

TEST(ReaderProcess, FailsWhereItSaysNothing) {
  ReaderProcess reader([](int /*channel*/, ConfinementSet /*reached*/) {}, 0);
  EXPECT_THROW(receive(reader, 1), ReaderFailure);
}

TEST(ReaderProcess, FailsWhereItThrows) {
  ReaderProcess reader([](int /*channel*/, ConfinementSet /*reached*/) { throw ReaderFailure(); },
                       0);
  EXPECT_THROW(receive(reader, 1), ReaderFailure);
}

TEST(ReaderProcess, FailsWhereItDies) {
  ReaderProcess reader([](int /*channel*/, ConfinementSet /*reached*/) { raise(SIGKILL); }, 0);
  EXPECT_THROW(receive(reader, 1), ReaderFailure);
}

TEST(ReaderProcess, FailsAtTheDeadlineWhereItSleeps) {
  ReaderProcess reader(sleep_for_ever, 0);
  EXPECT_THROW(receive(reader, 1, kShort), ReaderFailure);
}

TEST(ReaderProcess, FailsAtTheDeadlineWhereItNeverEnds) {
  ReaderProcess reader(
      [](int channel, ConfinementSet /*reached*/) {
        for (;;) write_text(channel, "xxxxxxxx");
      },
      0);
  reader.Allow(kShort);
  char block[4096];
  EXPECT_THROW(
      {
        for (;;) reader.Receive(block, sizeof block);
      },
      ReaderFailure);
}

// The time limit is for all answers together.
TEST(ReaderProcess, FailsWhereSeveralAnswersTakeTooLong) {
  ReaderProcess reader(
      [](int channel, ConfinementSet /*reached*/) {
        for (const char* answer : {"a", "b", "c"}) {
          std::this_thread::sleep_for(kShort / 2);
          write_text(channel, answer);
        }
      },
      0, /*wanted=*/0);
  reader.Allow(kShort);
  char byte = 0;
  reader.Receive(&byte, 1);
  EXPECT_THROW(
      {
        reader.Receive(&byte, 1);
        reader.Receive(&byte, 1);
      },
      ReaderFailure);
}

TEST(ReaderProcess, IsNotToBlameForTheTimeBetweenTheCalls) {
  ReaderProcess reader([](int channel, ConfinementSet /*reached*/) { write_text(channel, "ab"); },
                       0);
  reader.Allow(kShort);
  char byte = 0;
  reader.Receive(&byte, 1);
  std::this_thread::sleep_for(2 * kShort);
  reader.Receive(&byte, 1);
  EXPECT_EQ(byte, 'b');
}

TEST(ReaderProcess, FailsAtTheDeadlineWhereItDoesNotListen) {
  ReaderProcess reader(
      [](int /*channel*/, ConfinementSet /*reached*/) {
        for (volatile int i = 0;; i = i + 1) {
        }
      },
      0);
  reader.Allow(kShort);
  const std::string much(10000000, 'x');
  EXPECT_THROW(reader.Send(much.data(), much.size()), ReaderFailure);
}

TEST(ReaderProcess, IsGoneWhenItIsEnded) {
  ReaderProcess reader(sleep_for_ever, 0);
  reader.End();
  EXPECT_FALSE(has_children());
  EXPECT_THROW(receive(reader, 1), ReaderFailure);
}

TEST(ReaderProcess, EndsByItselfWhenNobodyListens) {
  ReaderProcess reader(sleep_for_ever, 0);
  reader.HangUp();
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST(ReaderProcess, IsGoneWithItsObject) {
  { ReaderProcess reader(sleep_for_ever, 0); }
  EXPECT_FALSE(has_children());
}

TEST(ReaderProcess, IsEndedFromASignalHandler) {
  ReaderProcess reader(sleep_for_ever, 0);
  end_reader();
  EXPECT_FALSE(has_children());
}

}  // namespace
