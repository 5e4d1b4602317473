#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/reply/shell.h"

namespace {

TEST(ShellCommand, IsItsPiecesInTheirOrder) {
  ShellCommand command(Purpose::kReply, {});
  command.Text("cat ").Quoted("/tmp/a b").Text(" >> ").Quoted("x");
  EXPECT_EQ(command.line(), "cat '/tmp/a b' >> 'x'");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, IsEmptyAtFirst) {
  const ShellCommand command(Purpose::kReply, {});
  EXPECT_EQ(command.line(), "");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, LeavesEveryByteOfAValueAsItIs) {
  ShellCommand command(Purpose::kReply, {});
  command.Quoted("a$b`c\"d\\e\n\xFF;|&<>*?!#~");
  EXPECT_EQ(command.line(), "'a$b`c\"d\\e\n\xFF;|&<>*?!#~'");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, KnowsAValueThatWouldLeaveItsQuotes) {
  ShellCommand command(Purpose::kReply, {});
  command.Text("echo ").Quoted("o'neill@example.com");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->value, "o'neill@example.com");
}

TEST(ShellCommand, KnowsTheFirstOfSuchValues) {
  ShellCommand command(Purpose::kReply, {});
  command.Quoted({"plain", "'first", "third'"}).Quoted("second'").Quoted("plain");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->value, "'first");
}

TEST(ShellCommand, MayHaveQuotesInItsTexts) {
  ShellCommand command(Purpose::kReply, {});
  command.Text("echo 'a' 'b");
  EXPECT_FALSE(command.refused());
}

TEST(ShellCommand, KeepsItsPiecesWhenCopied) {
  ShellCommand command(Purpose::kReply, {});
  command.Text("a").Quoted("'");
  ShellCommand copy = command;
  copy.Text("b");
  EXPECT_EQ(command.line(), "a'''");
  EXPECT_EQ(copy.line(), "a'''b");
  EXPECT_EQ(copy.refused()->value, "'");
}

// --- with repairs

constexpr Repairs kRepairs = all_repairs(true);

TEST(RepairedShellCommand, EscapesQuotes) {
  ShellCommand command(Purpose::kReply, kRepairs);
  command.Text("echo ").Quoted("o'neill").Text(" ").Quoted({"'", "''"});
  EXPECT_EQ(command.line(), R"(echo 'o'\''neill' ''\'''\'''\''')");
  EXPECT_FALSE(command.refused());
}

TEST(RepairedShellCommand, LeavesEveryOtherByteAsItIs) {
  ShellCommand command(Purpose::kReply, kRepairs);
  command.Quoted("a$b`c\"d\\e\t\xFF;|&<>*?!#~");
  EXPECT_EQ(command.line(), "'a$b`c\"d\\e\t\xFF;|&<>*?!#~'");
}

TEST(RepairedShellCommand, RefusesANewlineInAValue) {
  ShellCommand command(Purpose::kReply, kRepairs);
  command.Quoted("plain").Quoted({"a'b", "c\nd"}).Quoted("\n");
  ASSERT_TRUE(command.refused());
  EXPECT_EQ(command.refused()->why, NotRun::kNewline);
  EXPECT_EQ(command.refused()->value, "c\nd");
}

TEST(RepairedShellCommand, TakesLinesOfItsOwn) {
  ShellCommand command(Purpose::kReply, kRepairs);
  command.QuotedLines({"--b\n", "it's", "\n"});
  EXPECT_EQ(command.line(), "'--b\nit'\\''s\n'");
  EXPECT_FALSE(command.refused());
}

struct AddressRow : NamedRow {
  const char* address;
  bool is_refused;
};

class AddressInACommand : public testing::TestWithParam<AddressRow> {};

TEST_P(AddressInACommand, IsRefusedWithRepairsIfItIsAnOption) {
  const ShellCommand command = ShellCommand(Purpose::kReply, kRepairs).Address(GetParam().address);
  EXPECT_EQ(command.refused().has_value(), GetParam().is_refused);
  if (command.refused()) {
    EXPECT_EQ(command.refused()->why, NotRun::kOption);
  }
}

TEST_P(AddressInACommand, IsTakenWithoutRepairs) {
  const ShellCommand command = ShellCommand(Purpose::kReply, {}).Address(GetParam().address);
  EXPECT_FALSE(command.refused());
}

constexpr AddressRow kAddressRows[] = {
    {"Option", "-bs@x", true},         {"OnlyTheDash", "-", true}, {"DashInside", "a-b@x", false},
    {"QuotedDash", "\"-b\"@x", false}, {"Nothing", "", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, AddressInACommand, testing::ValuesIn(kAddressRows));

struct Single : NamedRow {
  bool Repairs::*repair;
  const char* value;
  const char* line;
  std::optional<NotRun> refused;
};

class SingleRepair : public testing::TestWithParam<Single> {};

TEST_P(SingleRepair, ChangesNothingElse) {
  Repairs repairs;
  repairs.*GetParam().repair = true;
  ShellCommand command(Purpose::kReply, repairs);
  command.Address(GetParam().value);
  EXPECT_EQ(command.line(), GetParam().line);
  const auto refused =
      command.refused() ? std::make_optional(command.refused()->why) : std::nullopt;
  EXPECT_EQ(refused, GetParam().refused);
}

constexpr Single kSingles[] = {
    {"QuoteEscaped", &Repairs::quotes, "a'b", "'a'\\''b'", std::nullopt},
    {"NewlineBesideQuotes", &Repairs::quotes, "a\nb", "'a\nb'", std::nullopt},
    {"OptionBesideQuotes", &Repairs::quotes, "-b", "'-b'", std::nullopt},
    {"NewlineRefused", &Repairs::newlines, "a\nb", "'a\nb'", NotRun::kNewline},
    {"QuoteBesideNewlines", &Repairs::newlines, "a'b", "'a'b'", NotRun::kQuote},
    {"OptionRefused", &Repairs::options, "-b", "'-b'", NotRun::kOption},
    {"QuoteBesideOptions", &Repairs::options, "a'b", "'a'b'", NotRun::kQuote},
    {"NewlineBesideOptions", &Repairs::options, "a\nb", "'a\nb'", std::nullopt},
};

INSTANTIATE_TEST_SUITE_P(Rows, SingleRepair, testing::ValuesIn(kSingles),
                         [](const auto& row) { return row.param.name; });

}  // namespace
