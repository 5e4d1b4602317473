#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "autoresponder/reply/shell.h"

namespace {

TEST(ShellCommand, IsItsPiecesInTheirOrder) {
  ShellCommand command;
  command.Text("cat ").Quoted("/tmp/a b").Text(" >> ").Quoted("x");
  EXPECT_EQ(command.line(), "cat '/tmp/a b' >> 'x'");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, IsEmptyAtFirst) {
  const ShellCommand command;
  EXPECT_EQ(command.line(), "");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, LeavesEveryByteOfAValueAsItIs) {
  ShellCommand command;
  command.Quoted("a$b`c\"d\\e\n\xFF;|&<>*?!#~");
  EXPECT_EQ(command.line(), "'a$b`c\"d\\e\n\xFF;|&<>*?!#~'");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, KnowsAValueThatWouldLeaveItsQuotes) {
  ShellCommand command;
  command.Text("echo ").Quoted("o'neill@example.com");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->value, "o'neill@example.com");
}

TEST(ShellCommand, KnowsTheFirstOfSuchValues) {
  ShellCommand command;
  command.Quoted({"plain", "'first", "third'"}).Quoted("second'").Quoted("plain");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->value, "'first");
}

TEST(ShellCommand, MayHaveQuotesInItsTexts) {
  ShellCommand command;
  command.Text("echo 'a' 'b");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, KeepsItsPiecesWhenCopied) {
  ShellCommand command;
  command.Text("a").Quoted("'");
  ShellCommand copy = command;
  copy.Text("b");
  EXPECT_EQ(command.line(), "a'''");
  EXPECT_EQ(copy.line(), "a'''b");
  EXPECT_EQ(copy.refused()->value, "'");
}

// --- with repairs

constexpr Switches kRepairs{true, false};

TEST(RepairedShellCommand, EscapesQuotes) {
  ShellCommand command(kRepairs);
  command.Text("echo ").Quoted("o'neill").Text(" ").Quoted({"'", "''"});
  EXPECT_EQ(command.line(), R"(echo 'o'\''neill' ''\'''\'''\''')");
  EXPECT_FALSE(command.refused());
}

TEST(RepairedShellCommand, LeavesEveryOtherByteAsItIs) {
  ShellCommand command(kRepairs);
  command.Quoted("a$b`c\"d\\e\t\xFF;|&<>*?!#~");
  EXPECT_EQ(command.line(), "'a$b`c\"d\\e\t\xFF;|&<>*?!#~'");
}

TEST(RepairedShellCommand, RefusesANewlineInAValue) {
  ShellCommand command(kRepairs);
  command.Quoted("plain").Quoted({"a'b", "c\nd"}).Quoted("\n");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->why, Refusal::kNewline);
  EXPECT_EQ(command.refused()->value, "c\nd");
}

TEST(RepairedShellCommand, TakesLinesOfItsOwn) {
  ShellCommand command(kRepairs);
  command.QuotedLines({"--b\n", "it's", "\n"});
  EXPECT_EQ(command.line(), "'--b\nit'\\''s\n'");
  EXPECT_FALSE(command.refused());
}

struct AddressRow {
  const char* name;
  const char* address;
  bool is_refused;
};

void PrintTo(const AddressRow& row, std::ostream* out) {
  *out << row.name;
}

class AddressInACommand : public testing::TestWithParam<AddressRow> {};

TEST_P(AddressInACommand, IsRefusedWithRepairsIfItIsAnOption) {
  const ShellCommand command = ShellCommand(kRepairs).Address(GetParam().address);
  EXPECT_EQ(command.refused().has_value(), GetParam().is_refused);
  if (command.refused()) {
    EXPECT_EQ(command.refused()->why, Refusal::kOption);
  }
}

TEST_P(AddressInACommand, IsTakenWithoutRepairs) {
  const ShellCommand command = ShellCommand().Address(GetParam().address);
  EXPECT_FALSE(command.refused());
}

constexpr AddressRow kAddressRows[] = {
    {"Option", "-bs@x", true},         {"OnlyTheDash", "-", true}, {"DashInside", "a-b@x", false},
    {"QuotedDash", "\"-b\"@x", false}, {"Nothing", "", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, AddressInACommand, testing::ValuesIn(kAddressRows));

}  // namespace
