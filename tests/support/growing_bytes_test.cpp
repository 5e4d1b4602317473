#include "support/base/growing_bytes.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

std::string contents(const GrowingBytes& bytes) {
  return {bytes.data(), bytes.size()};
}

TEST(GrowingBytes, AreEmptyAtFirst) {
  EXPECT_EQ(contents(GrowingBytes(0)), "");
  EXPECT_EQ(contents(GrowingBytes(100)), "");
}

TEST(GrowingBytes, TakeMemoryOver) {
  char* const memory = static_cast<char*>(malloc(3));
  ASSERT_NE(memory, nullptr);
  memcpy(memory, "a\0b", 3);
  GrowingBytes bytes(memory, 3);
  EXPECT_EQ(bytes.data(), memory);
  bytes.Append("c", 1);
  EXPECT_EQ(contents(bytes), "a\0bc"s);
}

TEST(GrowingBytes, AppendBytesAndNothing) {
  GrowingBytes bytes(0);
  bytes.Append("a\0b", 3);
  bytes.Append(nullptr, 0);
  bytes.Append("c", 1);
  EXPECT_EQ(contents(bytes), "a\0bc"s);
}

TEST(GrowingBytes, AppendTheirOwnBytesWhileTheyMove) {
  GrowingBytes bytes(2);
  bytes.Append("ab", 2);
  for (int i = 0; i < 20; ++i) bytes.Append(bytes.data(), bytes.size());
  ASSERT_EQ(bytes.size(), size_t{2} << 20);
  EXPECT_EQ(contents(bytes).find_first_not_of("ab"), std::string::npos);
  bytes.Append(bytes.data() + bytes.size() - 1, 1);
  EXPECT_EQ(bytes.data()[bytes.size() - 1], 'b');
}

TEST(GrowingBytes, KeepWhatWasWrittenToTheirRoom) {
  GrowingBytes bytes(1);
  memcpy(bytes.RoomFor(10), "written", 7);
  EXPECT_EQ(contents(bytes), "");
  bytes.Add(7);
  bytes.RoomFor(1000000);
  EXPECT_EQ(contents(bytes), "written");
}

TEST(GrowingBytes, StayInPlaceWithinTheirRoom) {
  GrowingBytes bytes(8);
  const char* const place = bytes.data();
  bytes.Append("1234", 4);
  EXPECT_EQ(bytes.RoomFor(4), place + 4);
  EXPECT_EQ(bytes.data(), place);
}

TEST(GrowingBytes, DoubleTheirRoom) {
  constexpr size_t kBlock = size_t{64} << 10;
  GrowingBytes bytes(kBlock);
  int moves = 0;
  while (bytes.size() < 1024 * kBlock) {
    const char* const place = bytes.data();
    bytes.RoomFor(kBlock);
    moves += bytes.data() != place ? 1 : 0;
    bytes.Add(kBlock);
  }
  EXPECT_LE(moves, 10);
}

TEST(GrowingBytes, AreEmptyAfterTheirMemoryWasHandedOver) {
  GrowingBytes bytes(1);
  bytes.Append("text", 4);
  const OwnedText memory(bytes.Release());
  EXPECT_EQ(std::string(memory.get(), 4), "text");
  EXPECT_EQ(bytes.data(), nullptr);
  EXPECT_EQ(bytes.size(), 0U);
  bytes.Append("more", 4);
  EXPECT_EQ(contents(bytes), "more");
}

TEST(GrowingBytes, AreEmptyAfterTheyWereMoved) {
  GrowingBytes bytes(1);
  bytes.Append("text", 4);
  const char* const place = bytes.data();
  const GrowingBytes moved(std::move(bytes));
  EXPECT_EQ(moved.data(), place);
  EXPECT_EQ(contents(moved), "text");
  bytes.Append("more", 4);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(contents(bytes), "more");
  EXPECT_EQ(contents(moved), "text");
}

}  // namespace
