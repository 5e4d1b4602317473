#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../fake_database.h"
#include "../scratch_directory.h"
#include "explain/examination.h"
#include "explain/recorded_effects.h"
#include "support/conf.h"

namespace {

namespace fs = std::filesystem;

// A rule that fires for a message, and a mail server that can be started.
class AnExamination : public testing::Test {
 protected:
  AnExamination() : root_(directory_.Path("qmail")), store_(directory_.Path("mail")) {
    QMAIL_ROOT_D = root_.c_str();
    QMAIL_MAILNAMES_D = store_.c_str();
    fs::create_directories(root_ + "/bin");
    fs::create_directories(root_ + "/control");
    fs::create_directories(store_ + "/shop.example/info/@attachments");
    std::ofstream(Sendmail()) << "";
    fs::permissions(Sendmail(), fs::perms(0755));
    explanation_.panel.mailbox = {{"1", "info", "shop.example"}, MailboxLookup::kMailName};
    explanation_.message.SetRecipient("info@shop.example");
    explanation_.message.sender = "otto@customer.example";
    facts_.rule.id = "7";
    facts_.trigger = TriggerMatch{true, 0};
    server_.Answer("show create table",
                   {{"resp_freq", "CREATE TABLE `resp_freq` (\n  `email` varchar(320)\n)"}});
  }
  ~AnExamination() override { QMAIL_ROOT_D = QMAIL_MAILNAMES_D = nullptr; }

  std::string Sendmail() const { return root_ + "/bin/sendmail"; }

  RuleOutcome Outcome() {
    PanelDatabase database = PanelDatabase(FakeDatabase::Open);
    facts_.answer = {};
    facts_.commands.clear();
    examine_rule(database, explanation_, false, facts_);
    return facts_.outcome;
  }

  ScratchDirectory directory_;
  std::string root_;
  std::string store_;
  FakeDatabase server_;
  Explanation explanation_;
  RuleExplanation facts_;
};

TEST_F(AnExamination, FindsAReply) {
  EXPECT_EQ(Outcome(), RuleOutcome::kReplies);
  ASSERT_EQ(facts_.commands.size(), 1U);
  EXPECT_EQ(facts_.commands[0].purpose, Purpose::kReply);
  EXPECT_EQ(facts_.commands[0].line, Sendmail() +
                                         " -f 'info@shop.example' 'otto@customer.example' "
                                         "</tmp/kem-response-uu-XXXXXX");
  EXPECT_FALSE(facts_.commands[0].not_run);
  EXPECT_THAT(facts_.mail.headers, testing::StartsWith("From: info@shop.example\nTo: otto@"));
  EXPECT_EQ(facts_.mail.whole, "");
}

TEST_F(AnExamination, FindsThatARuleIsOffOrNotTriggered) {
  facts_.trigger = TriggerMatch{false, 0};
  EXPECT_EQ(Outcome(), RuleOutcome::kNotTriggered);
  facts_.trigger.reset();
  EXPECT_EQ(Outcome(), RuleOutcome::kSwitchedOff);
  EXPECT_EQ(server_.statements, std::vector<std::string>());
}

TEST_F(AnExamination, FindsWhatTheLimiterRefuses) {
  server_.Answer("select num", {{"10"}});
  EXPECT_EQ(Outcome(), RuleOutcome::kLimitReached);
  facts_.rule.ans_freq = "0";
  EXPECT_EQ(Outcome(), RuleOutcome::kNeverReplies);
}

TEST_F(AnExamination, FindsWhatCourtesyForbids) {
  explanation_.switches.courtesy = true;
  explanation_.message.envelope_sender = "";
  EXPECT_EQ(Outcome(), RuleOutcome::kCourtesy);
  EXPECT_EQ(facts_.answer.objection, "null sender");
}

TEST_F(AnExamination, FindsANotice) {
  std::ofstream(root_ + "/control/databytes") << "10";
  EXPECT_EQ(Outcome(), RuleOutcome::kRepliesWithNotice);
}

TEST_F(AnExamination, FindsACommandThatIsNotRun) {
  explanation_.message.sender = "o'neil@x.example";
  EXPECT_EQ(Outcome(), RuleOutcome::kCommandNotRun);
  EXPECT_EQ(facts_.commands.back().not_run, NotRun::kQuote);
}

TEST_F(AnExamination, FindsThatTheMailServerIsMissing) {
  fs::permissions(Sendmail(), fs::perms(0644));
  EXPECT_EQ(Outcome(), RuleOutcome::kCommandNotRun);
  EXPECT_EQ(facts_.commands.back().not_run, NotRun::kNoProgram);
}

TEST_F(AnExamination, FindsThatSendmailReadsTheSenderAsAnOption) {
  explanation_.message.sender = "-bs@x.example";
  EXPECT_EQ(Outcome(), RuleOutcome::kReadAsOption);
  EXPECT_FALSE(facts_.commands.back().not_run);
  explanation_.switches.repairs.options = true;
  EXPECT_EQ(Outcome(), RuleOutcome::kCommandNotRun);
  EXPECT_EQ(facts_.commands.back().not_run, NotRun::kOption);
}

TEST_F(AnExamination, FindsAReplyToThatCannotBeParsed) {
  facts_.rule.reply_to = "\"Shop <a@b>";
  EXPECT_EQ(Outcome(), RuleOutcome::kReplyToUnreadable);
  explanation_.switches.repairs.reply_to = true;
  EXPECT_EQ(Outcome(), RuleOutcome::kReplies);
}

TEST_F(AnExamination, FindsThatAttachmentsCannotBeAppended) {
  server_.Answer("resp_attach", {{"o'neil.txt"}});
  std::ofstream(store_ + "/shop.example/info/@attachments/o'neil.txt") << "Apples\n";
  testing::internal::CaptureStderr();
  EXPECT_EQ(Outcome(), RuleOutcome::kReplies);
  explanation_.switches.repairs.whole_attachments = true;
  EXPECT_EQ(Outcome(), RuleOutcome::kNotWhole);
  testing::internal::GetCapturedStderr();
}

TEST_F(AnExamination, FindsARecipientWithoutAsciiForm) {
  explanation_.message.SetRecipient("info@" + std::string(70, 'x') + "\xC3\xA4.example");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Outcome(), RuleOutcome::kRecipientNotAscii);
  testing::internal::GetCapturedStderr();
}

TEST_F(AnExamination, FindsAStatementThatTheServerRefuses) {
  server_.Answer("resp_forward", {{"a@x.example"}});
  server_.Fail("resp_attach", 1146, "no such table");
  EXPECT_EQ(Outcome(), RuleOutcome::kStatementFails);
  EXPECT_EQ(facts_.trouble, "autoresponder: Unable to exec query :no such table");
  EXPECT_FALSE(facts_.is_sender_too_long);
  ASSERT_EQ(facts_.commands.size(), 1U);
  EXPECT_EQ(facts_.commands[0].purpose, Purpose::kForward);
}

TEST_F(AnExamination, FindsASenderThatIsTooLong) {
  server_.Answer("STRICT", {{"1"}});
  EXPECT_EQ(Outcome(), RuleOutcome::kStatementFails);
  EXPECT_TRUE(facts_.is_sender_too_long);
}

TEST_F(AnExamination, EndsWithTheConnection) {
  server_.Fail("resp_forward", 2013, "Lost connection");
  EXPECT_THROW(Outcome(), PanelFailure);
}

TEST(ARefusal, IsOfTheServer) {
  for (const unsigned error : {1U, 1146U, 1999U}) EXPECT_TRUE(is_refusal({"x", error})) << error;
  for (const unsigned error : {0U, 2000U, 2013U}) EXPECT_FALSE(is_refusal({"x", error})) << error;
}

}  // namespace
