#include "explain/recorded_effects.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "autoresponder/run/temporary_files.h"

namespace {

class ReplyInMemory : public testing::Test {
 protected:
  void Write(const std::string& text) {
    std::ofstream(effects_.CreateResponseFile().path()) << text;
  }

  IncomingMessage message_;
  Switches switches_;
  RecordedEffects effects_{message_, switches_};
};

TEST_F(ReplyInMemory, HasANameOfTheLengthOfTheOneThatItReplaces) {
  const std::string replaced = response_template();
  EXPECT_EQ(effects_.CreateResponseFile().path().size(), replaced.size());
}

TEST_F(ReplyInMemory, HoldsWhatWasWrittenUnderItsName) {
  Write("Subject: x\n\ntext\n");
  EXPECT_EQ(effects_.Mail(true).headers, "Subject: x");
  EXPECT_EQ(effects_.Mail(true).whole, "Subject: x\n\ntext\n");
  EXPECT_EQ(effects_.Mail(false).whole, "");
}

TEST_F(ReplyInMemory, WithoutAnEndOfTheHeaderIsAllHeader) {
  Write("Subject: x\n");
  EXPECT_EQ(effects_.Mail(false).headers, "Subject: x\n");
}

// A block of the reading is 64 KiB.
TEST_F(ReplyInMemory, FindsAnEndThatLiesInTwoBlocks) {
  const std::string header(65535, 'x');
  Write(header + "\n\ntext");
  EXPECT_EQ(effects_.Mail(false).headers, header);
}

}  // namespace
