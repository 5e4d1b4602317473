#include "autoresponder/engine/responder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../fake_database.h"

namespace {

using testing::ElementsAre;

// A body in whose lines 2 and 5 the second and third key are.
class TwoKeys : public Body {
 public:
  std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) override {
    asked.assign(keys.begin(), keys.end());
    return {0, 2, 5};
  }
  std::vector<std::string> asked;
};

class FindingRules : public testing::Test {
 protected:
  FindingRules() {
    message_.SetRecipient("info@shop.example");
    message_.subject = "The price";
  }

  void Find() {
    PanelDatabase database = PanelDatabase(FakeDatabase::Open);
    find_rules(database, message_, escape_recipient(message_), repairs_, found_);
  }

  static FakeRow Rule(const char* id, const char* key, const char* where, const char* on = "true") {
    return {id, key, where, "text", on, "10", "1000", "", "", "UTF-8", "text/plain"};
  }

  FakeDatabase server_;
  IncomingMessage message_;
  Repairs repairs_;
  MailboxRules found_;
};

TEST_F(FindingRules, EndsWithoutAMailbox) {
  Find();
  EXPECT_FALSE(found_.mailbox);
  EXPECT_EQ(server_.statements.size(), 4U);
}

TEST_F(FindingRules, GivesEachRuleItsOwnTrigger) {
  auto body = std::make_unique<TwoKeys>();
  TwoKeys& keys = *body;
  message_.body_lines = std::move(body);
  server_.Answer("from mail m, domains d where", {{"5", "info", "shop.example"}});
  server_.Answer("from mail_resp where mn_id=5",
                 {Rule("1", "a", "body"), Rule("2", "price", "subj"), Rule("3", "b", "body"),
                  Rule("4", "off", "body", "false"), Rule("6", "c", "body"),
                  Rule("7", "gone", "subj"), Rule("8", "", "no")});
  Find();
  EXPECT_THAT(keys.asked, ElementsAre("a", "b", "c"));
  std::string triggers;
  for (size_t i = 0; i < found_.rules.size(); ++i) {
    triggers += std::string(found_.rules[i].id) + (found_.triggers[i].fires ? "+" : "-") +
                std::to_string(found_.triggers[i].line) + " ";
  }
  EXPECT_EQ(triggers, "1-0 2+0 3+2 4-0 6+5 7-0 8+0 ");
}

TEST_F(FindingRules, SpeaksAllCharactersIfThatIsRepaired) {
  const int before = std::exchange(db_utf8_mode, 1);
  Find();
  EXPECT_EQ(server_.statements.size(), 4U);
  repairs_.characters = true;
  Find();
  db_utf8_mode = before;
  ASSERT_EQ(server_.statements.size(), 9U);
  EXPECT_EQ(server_.statements[4], "SET NAMES utf8mb4");
}

TEST_F(FindingRules, KeepsTheMailboxWhenTheRulesCannotBeRead) {
  server_.Answer("from mail m, domains d where", {{"5", "info", "shop.example"}});
  server_.Fail("mail_resp", 1146, "no such table");
  EXPECT_THROW(Find(), PanelFailure);
  EXPECT_EQ(found_.mailbox->mailbox.id, "5");
}

// Effects that let a rule reply, and do what the test says with the reply.
class SilentEffects : public Effects {
 public:
  LimiterFacts AskLimiter(PanelDatabase& /*database*/, const ResponderRule& rule) override {
    rules.emplace_back(rule.id);
    LimiterFacts facts;
    facts.step = LimiterStep::kRemember;
    return facts;
  }
  ResponseFile CreateResponseFile() override { return {-1, path}; }
  std::string AsciiForm(const std::string& address) override { return address; }
  bool Run(const ShellCommand& command) override {
    commands.push_back(command.purpose());
    return false;
  }

  std::vector<std::string> rules;
  std::vector<Purpose> commands;
  std::string path = "/nowhere/reply";
};

class Responding : public FindingRules {
 protected:
  Responding() {
    server_.Answer("from mail m, domains d where", {{"5", "info", "shop.example"}});
    server_.Answer("from mail_resp",
                   {Rule("1", "gone", "subj"), Rule("2", "", "no"), Rule("3", "price", "subj")});
  }

  std::string Diagnostics() {
    testing::internal::CaptureStderr();
    run_responder({message_, switches_, "/spool"}, effects_, FakeDatabase::Open);
    return testing::internal::GetCapturedStderr();
  }

  Switches switches_;
  SilentEffects effects_;
};

TEST_F(Responding, AnswersByTheRulesThatFireInTheirOrder) {
  Diagnostics();
  EXPECT_THAT(effects_.rules, ElementsAre("2", "3"));
}

TEST_F(Responding, ReportsThatThereIsNoMailbox) {
  server_.Answer("from mail m, domains d where", {});
  EXPECT_EQ(Diagnostics(), "autoresponder: Mailname not found: info@shop.example\n");
  EXPECT_THAT(effects_.rules, ElementsAre());
}

TEST_F(Responding, ReportsAReplyThatCannotBeWritten) {
  EXPECT_EQ(Diagnostics(),
            "autoresponder: Unable to write the reply to /nowhere/reply\n"
            "autoresponder: Unable to write the reply to /nowhere/reply\n");
  EXPECT_THAT(effects_.commands, ElementsAre());
}

TEST_F(Responding, ReportsWhyCourtesyForbidsAReply) {
  switches_.courtesy = true;
  message_.envelope_sender = "";
  EXPECT_EQ(Diagnostics(),
            "autoresponder: no reply, courtesy: null sender\n"
            "autoresponder: no reply, courtesy: null sender\n");
}

TEST_F(Responding, ReportsAReplyToThatIsLeftOut) {
  switches_.repairs.reply_to = true;
  FakeRow rule = Rule("2", "", "no");
  rule[8] = "\"a\nb";
  server_.Answer("from mail_resp", {rule});
  EXPECT_EQ(Diagnostics(),
            "autoresponder: left out a Reply-To that the mail server cannot parse: \"a b\n"
            "autoresponder: Unable to write the reply to /nowhere/reply\n");
}

TEST_F(Responding, EndsWithTheDatabase) {
  server_.Fail("resp_forward", 2013, "Lost connection");
  EXPECT_THROW(run_responder({message_, switches_, "/spool"}, effects_, FakeDatabase::Open),
               PanelFailure);
}

}  // namespace
