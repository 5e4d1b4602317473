#include "autoresponder/run/run_effects.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../recorded_command.h"
#include "../../scratch_directory.h"
#include "autoresponder/run/incoming.h"

namespace {

class EffectsOfARun : public testing::Test {
 protected:
  EffectsOfARun() { spool_.Write("A question.\n", 12); }

  // What is written to both outputs when a command for the purpose runs.
  std::string OutputOf(Purpose purpose) {
    RunEffects effects(message_, spool_, switches_);
    ShellCommand command(purpose, switches_.repairs);
    command.Text("cat <" + spool_.path());
    testing::internal::CaptureStderr();
    const std::string output = output_of([&] { succeeded_ = effects.Run(command); });
    return output + testing::internal::GetCapturedStderr();
  }

  ScratchDirectory directory_;
  std::string path_ = directory_.Path("spool");
  SpoolFile spool_{open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), path_};
  IncomingMessage message_;
  Switches switches_;
  bool succeeded_ = false;
};

TEST_F(EffectsOfARun, RunCommands) {
  EXPECT_EQ(OutputOf(Purpose::kForward), "A question.\n");
  EXPECT_EQ(OutputOf(Purpose::kReply), "A question.\n");
  EXPECT_EQ(OutputOf(Purpose::kAttach), "A question.\n");
  EXPECT_TRUE(succeeded_);
}

TEST_F(EffectsOfARun, ForwardNoOtherFile) {
  std::filesystem::remove(path_);
  std::ofstream(path_) << "Another.\n";
  EXPECT_EQ(OutputOf(Purpose::kForward),
            "autoresponder: not forwarded, because its file was removed: " + path_ + "\n");
  EXPECT_EQ(OutputOf(Purpose::kReply), "Another.\n");
}

TEST_F(EffectsOfARun, ForwardAPartOfAMessageUnlessThatIsRepaired) {
  SpoolFile full(open("/dev/full", O_WRONLY | O_CLOEXEC), "/dev/full");
  full.Write("x", 1);
  ASSERT_FALSE(full.IsWhole());
  RunEffects effects(message_, full, switches_);
  ShellCommand command(Purpose::kForward, switches_.repairs);
  command.Text("echo forwarded");
  EXPECT_EQ(output_of([&] { effects.Run(command); }), "forwarded\n");
  switches_.repairs.whole_copies = true;
  testing::internal::CaptureStderr();
  EXPECT_EQ(output_of([&] { effects.Run(command); }), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: not forwarded, because the message is not whole in /dev/full\n");
}

TEST_F(EffectsOfARun, GiveTheAsciiFormOfTheMailbox) {
  RunEffects effects(message_, spool_, switches_);
  EXPECT_EQ(effects.AsciiForm("info@shop.example"), "info@shop.example");
  // Kept: the mail name is taken for a part of the domain.
  EXPECT_EQ(effects.AsciiForm("info@b\xC3\xBC"
                              "cher.example"),
            "xn--info@bcher-feb.example");
}

struct Address {
  const char* variable;
  const char* address;
};

TEST(TheAddressOfADelivery, FollowsTheFirstDash) {
  constexpr Address kAddresses[] = {{"d17-info@shop.example", "info@shop.example"},
                                    {"my-shop-info@x", "shop-info@x"},
                                    {"info@shop.example", "info@shop.example"},
                                    {"info@my-shop.example", "shop.example"},
                                    {"-", ""}};
  for (const Address& row : kAddresses) {
    setenv("RECIPIENT", row.variable, 1);
    EXPECT_STREQ(delivery_address(), row.address);
  }
  unsetenv("RECIPIENT");
  EXPECT_EQ(delivery_address(), nullptr);
}

TEST(TheSenderOfADelivery, MayBeEmpty) {
  setenv("SENDER", "", 1);
  EXPECT_EQ(delivery_sender(), "");
  setenv("SENDER", "otto@x", 1);
  EXPECT_EQ(delivery_sender(), "otto@x");
  unsetenv("SENDER");
  EXPECT_EQ(delivery_sender(), std::nullopt);
}

TEST(AMessageWithoutASpoolFile, IsNotRead) {
  SpoolFile none(-1, "/nowhere");
  IncomingMessage message;
  testing::internal::CaptureStderr();
  EXPECT_EQ(read_incoming_message(none, Switches(), message), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Could not create a temporary file.\n");
}

}  // namespace
