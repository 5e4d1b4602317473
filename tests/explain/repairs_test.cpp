#include "explain/repairs.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "../named_row.h"
#include "../scratch_directory.h"
#include "support/conf.h"

namespace {

struct Case : NamedRow {
  void (*change)(Explanation&, RuleExplanation&);  // what is odd about the message or the rule
  std::vector<std::string> expected;
};

// A rule that replies to an ordinary message, and changes it.
class RepairsWithEffect : public testing::TestWithParam<Case> {
 protected:
  RepairsWithEffect() {
    const std::string store = mail_names_.Path("example.com/joe/@attachments");
    std::filesystem::create_directories(store);
    std::ofstream(store + "/terms.txt") << "terms";
    QMAIL_MAILNAMES_D = path_.c_str();
    explanation_.message.sender = "john@example.net";
    explanation_.message.recipient = "joe@example.com";
    explanation_.panel.mailbox = FoundMailbox{{"1", "joe", "example.com"}, {}};
    facts_.answer.limiter = LimiterFacts{0, {}, LimiterStep::kRemember, false, {}};
    GetParam().change(explanation_, facts_);
  }
  ~RepairsWithEffect() override { QMAIL_MAILNAMES_D = nullptr; }

  std::vector<std::string> Codes() const {
    std::vector<std::string> codes;
    for (const Repair* const repair : repairs_with_effect(explanation_, facts_)) {
      codes.emplace_back(repair->code);
    }
    return codes;
  }

  ScratchDirectory mail_names_;
  const std::string path_ = mail_names_.Path("");
  Explanation explanation_;
  RuleExplanation facts_;
};

TEST_P(RepairsWithEffect, AreThoseThatWouldChangeTheAnswer) {
  EXPECT_THAT(Codes(), testing::ElementsAreArray(GetParam().expected));
}

TEST_P(RepairsWithEffect, AreNoneThatAreOn) {
  explanation_.switches.repairs = all_repairs(true);
  EXPECT_THAT(Codes(), testing::IsEmpty());
}

TEST_P(RepairsWithEffect, AreNoneWhereTheLimitIsReachedButTheLimiters) {
  facts_.answer.limiter->step = LimiterStep::kRefuse;
  EXPECT_THAT(Codes(), testing::AnyOf(testing::IsEmpty(), testing::ElementsAre("limiter")));
}

const Case kCases[] = {
    {"NothingOdd", [](Explanation&, RuleExplanation&) {}, {}},
    {"AQuoteInACommand",
     [](Explanation&, RuleExplanation& rule) {
       rule.commands = {{Purpose::kForward, "", {}}, {Purpose::kReply, "", NotRun::kQuote}};
     },
     {"quotes"}},
    {"ACommandThatIsNotRunForAnotherReason",
     [](Explanation&, RuleExplanation& rule) {
       rule.commands = {{Purpose::kReply, "", NotRun::kTooLong}};
     },
     {}},
    {"APlainForwardingAddress",
     [](Explanation&, RuleExplanation& rule) { rule.answer.forwarding = " a@example.org"; },
     {}},
    {"SyntaxInAForwardingAddress",
     [](Explanation&, RuleExplanation& rule) { rule.answer.forwarding = " $(id)@example.org"; },
     {"forwarding"}},
    {"NoForwardingAddressLeft",
     [](Explanation&, RuleExplanation& rule) { rule.answer.forwarding = "  "; },
     {"forwarding"}},
    {"ANewlineInAForwardingAddress",
     [](Explanation&, RuleExplanation& rule) { rule.answer.forwarding = " a@example.org\nid"; },
     {"forwarding", "newlines"}},
    {"AnOptionAmongForwardingAddresses",
     [](Explanation&, RuleExplanation& rule) { rule.answer.forwarding = " a@example.org -t"; },
     {"options"}},
    {"ANewlineInTheSender",
     [](Explanation& all, RuleExplanation&) { all.message.sender = "john\n@example.net"; },
     {"newlines"}},
    {"ANewlineInTheRecipient",
     [](Explanation& all, RuleExplanation&) { all.message.recipient = "joe@\nexample.com"; },
     {"newlines"}},
    {"ANewlineInTheOwnersAddress",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.notification = {"root@example.com", "owner\n@example.com", "Owner"};
     },
     {"newlines"}},
    {"TheSenderAsAnOption",
     [](Explanation& all, RuleExplanation&) { all.message.sender = "-t@example.net"; },
     {"options"}},
    {"TheSenderAsAnOptionWhereCourtesyForbidsTheReply",
     [](Explanation& all, RuleExplanation& rule) {
       all.message.sender = "-t\n@example.net";
       rule.answer.objection = "it is automatic";
     },
     {}},
    {"TheOwnerAsAnOption",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.notification = {"root@example.com", "-t@example.com", "Owner"};
     },
     {"options"}},
    {"AFileOfTheStore",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.attachments.found = {{"terms.txt", "", 5}};
     },
     {}},
    {"AFileOutsideOfTheStore",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.attachments.found = {{"terms.txt", "", 5}, {"../../../passwd", "", 5}};
     },
     {"store", "file_names"}},
    {"ANewlineInTheNameOfAFile",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.attachments.found = {{"terms\n.txt", "", 5}};
     },
     {"newlines", "store", "file_names"}},
    {"ALineEndInATextForTheHeader",
     [](Explanation&, RuleExplanation& rule) { rule.rule.content_type = "text/plain\nBcc: x"; },
     {"lines"}},
    {"ANotification",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.notification = {"root@example.com", "owner@example.com", "Owner"};
     },
     {}},
    {"ANotificationAndAReplyTo",
     [](Explanation&, RuleExplanation& rule) {
       rule.answer.notification = {"root@example.com", "owner@example.com", "Owner"};
       rule.rule.reply_to = "desk@example.com";
     },
     {"notification"}},
    {"ASenderThatTheLimiterCuts",
     [](Explanation&, RuleExplanation& rule) { rule.answer.limiter->is_too_long = true; },
     {"limiter"}},
    {"ASenderThatTheServerRefuses",
     [](Explanation&, RuleExplanation& rule) { rule.is_sender_too_long = true; },
     {"limiter"}},
};

INSTANTIATE_TEST_SUITE_P(Rules, RepairsWithEffect, testing::ValuesIn(kCases),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
