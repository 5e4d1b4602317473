#include "explain/options.h"

#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "../named_row.h"

namespace {

std::variant<Options, int> parsed(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "autoresponder-explain");
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  return parse_command_line(static_cast<int>(argv.size()), argv.data());
}

TEST(Options, AskAboutAMessageOnStandardInputWithoutArguments) {
  const auto options = std::get<Options>(parsed({}));
  EXPECT_EQ(options.question(), Question::kMessage);
  EXPECT_EQ(options.message_file, "-");
  EXPECT_FALSE(options.recipient || options.rule || options.json || options.show_reply);
}

TEST(Options, TakeAValueFromTheSameArgumentOrTheNext) {
  EXPECT_EQ(std::get<Options>(parsed({"--recipient=a@b"})).recipient, "a@b");
  EXPECT_EQ(std::get<Options>(parsed({"--rule", "7", "file"})).rule, "7");
}

TEST(Options, TakeNothingAfterAnEqualsSignForAnEmptyValue) {
  const auto options = std::get<Options>(parsed({"--recipient=", "file"}));
  EXPECT_EQ(options.recipient, "");
  EXPECT_EQ(options.message_file, "file");
}

TEST(Options, AskAboutTheServerOrAMailbox) {
  EXPECT_EQ(std::get<Options>(parsed({"--check", "--json"})).question(), Question::kCheck);
  EXPECT_EQ(std::get<Options>(parsed({"--list", "a@b"})).question(), Question::kList);
  EXPECT_EQ(std::get<Options>(parsed({"--today"})).question(), Question::kToday);
}

TEST(Options, TakeAnAddressForTheRepliesOfToday) {
  EXPECT_EQ(std::get<Options>(parsed({"--today", "--json"})).mailbox, std::nullopt);
  EXPECT_EQ(std::get<Options>(parsed({"--today", "a@b"})).mailbox, "a@b");
  EXPECT_EQ(std::get<Options>(parsed({"--today", ""})).mailbox, "");
}

struct Row : NamedRow {
  std::vector<std::string> arguments;
  int status;
};

class OptionsThatEnd : public testing::TestWithParam<Row> {};

TEST_P(OptionsThatEnd, TellTheExitStatus) {
  EXPECT_EQ(std::get<int>(parsed(GetParam().arguments)), GetParam().status);
}

const Row kRows[] = {
    {"Help", {"--help"}, 0},
    {"Version", {"--version"}, 0},
    {"UnknownOption", {"--colour"}, 2},
    {"MissingValue", {"--rule"}, 2},
    {"TwoMessages", {"one", "two"}, 2},
    {"TwoQuestions", {"--check", "--list", "a@b"}, 2},
    {"CheckOfAMessage", {"--check", "file"}, 2},
    {"ListWithARule", {"--list", "a@b", "--rule", "7"}, 2},
    {"ListOfToday", {"--list", "a@b", "--today"}, 2},
    {"TodayWithTwoAddresses", {"--today", "a@b", "c@d"}, 2},
    {"TodayWithARule", {"--today", "--rule", "7"}, 2},
    {"CheckWithAReply", {"--check", "--show-reply"}, 2},
};

INSTANTIATE_TEST_SUITE_P(CommandLines, OptionsThatEnd, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
