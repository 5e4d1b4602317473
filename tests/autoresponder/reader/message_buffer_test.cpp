#include "autoresponder/reader/message_buffer.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

namespace {

void append(MessageBuffer& buffer, const std::string& bytes) {
  memcpy(buffer.RoomFor(bytes.size() + 100), bytes.data(), bytes.size());
  buffer.Add(bytes.size());
}

TEST(MessageBuffer, GivesItsBytesAsATextThatCopiesThem) {
  MessageBuffer buffer;
  append(buffer, std::string("a\0b", 3));
  append(buffer, "c");
  EXPECT_EQ(buffer.Take<std::string>(), std::string("a\0bc", 4));
}

struct AdoptingText {
  static AdoptingText Adopt(char* adopted, size_t size) { return {OwnedText(adopted), size}; }

  OwnedText bytes;
  size_t length;
};

TEST(MessageBuffer, GivesItsBytesToATextThatTakesThemOver) {
  MessageBuffer buffer;
  append(buffer, "text");
  const char* const bytes = buffer.RoomFor(0) - 4;
  const auto text = buffer.Take<AdoptingText>();
  EXPECT_EQ(text.bytes.get(), bytes);
  EXPECT_EQ(text.length, 4U);
  EXPECT_STREQ(text.bytes.get(), "text");
}

TEST(MessageBuffer, GivesItsBytesToTheMessageLibrary) {
  MessageBuffer buffer;
  append(buffer, "text");
  EXPECT_TRUE(buffer.Take<DwString>() == "text");
}

TEST(MessageBuffer, IsEmptyAtFirstAndAfterwards) {
  MessageBuffer buffer;
  EXPECT_EQ(buffer.Take<DwString>().length(), 0U);
  append(buffer, "text");
  static_cast<void>(buffer.Take<DwString>());
  EXPECT_EQ(buffer.Take<std::string>(), "");
  append(buffer, "more");
  EXPECT_EQ(buffer.Take<std::string>(), "more");
}

TEST(MessageBuffer, KeepsItsBytesWhileItGrows) {
  MessageBuffer buffer;
  std::string want;
  for (int i = 0; i < 300; ++i) {
    const std::string block(10000, static_cast<char>('a' + i % 26));
    append(buffer, block);
    want += block;
  }
  EXPECT_TRUE(buffer.Take<std::string>() == want);
}

}  // namespace
