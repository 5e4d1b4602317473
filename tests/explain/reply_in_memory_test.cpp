#include "explain/reply_in_memory.h"

#include <fstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

TEST(ReplyInMemory, HasANameOfTheLengthOfTheOneThatItReplaces) {
  const ReplyInMemory memory;
  const std::string replaced = "/tmp/kem-response.XXXXXX";
  const ResponseFile file = memory.File(replaced);
  EXPECT_EQ(std::string(file.path()).size(), replaced.size());
}

TEST(ReplyInMemory, HoldsWhatWasWrittenUnderItsName) {
  const ReplyInMemory memory;
  const ResponseFile file = memory.File("/tmp/kem-response.XXXXXX");
  std::ofstream(file.path()) << "Subject: x\n\ntext\n";
  EXPECT_EQ(memory.TextUpTo("\n\n"), "Subject: x");
  EXPECT_EQ(memory.TextUpTo(""), "Subject: x\n\ntext\n");
  EXPECT_EQ(memory.TextUpTo("nowhere"), "Subject: x\n\ntext\n");
}

// A block of the reading is 64 KiB.
TEST(ReplyInMemory, FindsAnEndThatLiesInTwoBlocks) {
  const ReplyInMemory memory;
  const ResponseFile file = memory.File("/tmp/kem-response.XXXXXX");
  const std::string header(65535, 'x');
  std::ofstream(file.path()) << header << "\n\ntext";
  EXPECT_EQ(memory.TextUpTo("\n\n"), header);
}

}  // namespace
