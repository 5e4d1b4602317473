#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "explain/reports.h"
#include "filled_explanation.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr TextStyle kPlain = {false, false, false};

std::string text_of(const Explanation& explanation, const TextStyle& style = kPlain) {
  std::ostringstream out;
  write_text(out, explanation, style);
  return out.str();
}

TEST(TextReport, TellsEverything) {
  EXPECT_EQ(text_of(filled_explanation()),
            "Message\n"
            "  sender      otto@customer.example (Reply-To)\n"
            "  recipient   sales@shop.example (RECIPIENT)\n"
            "  subject     \"A \"price\"\"\n"
            "  repairs on  the subject would read \"A price\"\n"
            "  charset     UTF-8\n"
            "  guards      passed\n"
            "  mailbox     info@shop.example, id 1, found by an alias of the mailbox\n"
            "\n"
            "Rule 7 replies\n"
            "  trigger     \"price\" is in line 3 of the body\n"
            "  limiter     0 of 5 replies to this sender today, 20 of 20 senders remembered: "
            "forgets the oldest, replies, and remembers this one\n"
            "              forgets old@x.example\n"
            "  forward to  anna@x.example ben@x.example\n"
            "  attachment  /store/list.txt, 7 bytes\n"
            "  missing     gone.txt\n"
            "              tells grete@customer.example about it\n"
            "  reply       300 bytes, within the limit of 5000\n"
            "  subject     \"Re: A price\"\n"
            "    | From: x\n"
            "    | To: y\n"
            "  command     forward\n"
            "    $ forward it\n"
            "  command     reply: refused, it holds a quote\n"
            "    $ send 'it\n"
            "    $  now'\n"
            "  repairs on  a command that holds a quote would run\n"
            "\n"
            "Rule 8 is not triggered\n"
            "  trigger     \"invoice\" is not in the subject\n"
            "\n"
            "A reply would leave. Reason: at least one rule replies.\n"
            "With courtesy on the reply would say that it is automatic, and have no envelope "
            "sender.\n"
            "Switches: repairs off, courtesy off.\n"
            "  repairs on  the subject would be read as one line, which never aborts the run\n");
}

TEST(TextReport, TellsOnlyTheVerdictOfAMessageWithoutSender) {
  Explanation explanation;
  explanation.verdict = Verdict::kNoReply;
  explanation.reason = Reason::kNoSender;
  explanation.switches.courtesy = true;
  EXPECT_EQ(text_of(explanation),
            "\nNo reply would leave. Reason: neither Reply-To nor From names a sender.\n"
            "Switches: repairs off, courtesy on.\n");
}

TEST(TextReport, LeavesOutTheRecipientThatWasNotDetermined) {
  Explanation explanation = filled_explanation();
  explanation.guard.reset();
  EXPECT_THAT(text_of(explanation), Not(HasSubstr("recipient")));
}

TEST(TextReport, NamesTheReasonOfCourtesy) {
  Explanation explanation = filled_explanation();
  explanation.verdict = Verdict::kNoReply;
  explanation.reason = Reason::kCourtesy;
  explanation.with_courtesy.reset();
  explanation.objection = "List-Id";
  explanation.rules[0].outcome = RuleOutcome::kCourtesy;
  explanation.rules[0].answer.objection = "List-Id";
  EXPECT_THAT(text_of(explanation), HasSubstr("\nRule 7 sends no reply, courtesy: List-Id\n"));
  EXPECT_THAT(text_of(explanation),
              HasSubstr("\nNo reply would leave. Reason: courtesy: List-Id.\n"));
}

TEST(TextReport, TellsWhatCourtesyWouldForbid) {
  Explanation explanation = filled_explanation();
  explanation.with_courtesy = CourtesyChange::kNoReply;
  explanation.objection = "spam";
  EXPECT_THAT(text_of(explanation), HasSubstr("Reason: at least one rule replies.\n"
                                              "With courtesy on no reply would leave: spam.\n"));
}

TEST(TextReport, TellsTroubleOfTheWholeAndOfARule) {
  Explanation explanation = filled_explanation();
  explanation.trouble = "gone away";
  explanation.rules[0].trouble = "no such table";
  EXPECT_THAT(text_of(explanation), HasSubstr(".\ngone away\nSwitches"));
  EXPECT_THAT(text_of(explanation), HasSubstr("  trouble     no such table\n"));
}

TEST(TextReport, TellsOfARuleThatNeverReplies) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].rule.ans_freq = "no";
  explanation.rules[0].answer.limiter = LimiterFacts();
  EXPECT_THAT(text_of(explanation), HasSubstr("  limiter     \"no\" replies a day: none\n"));
}

TEST(TextReport, TellsOfARuleWithoutTrigger) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].rule.key_where = "no";
  EXPECT_THAT(text_of(explanation), HasSubstr("  trigger     every message\n"));
}

TEST(TextReport, TellsOfTheSizeOfAReply) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].answer.reply->is_replaced = true;
  EXPECT_THAT(text_of(explanation), HasSubstr("300 bytes, above the limit of 5000\n"));
  explanation.rules[0].answer.reply->limit = 0;
  EXPECT_THAT(text_of(explanation), HasSubstr("300 bytes, no limit\n"));
}

TEST(TextReport, TellsThatNobodyIsToldOfMissingFiles) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].answer.notification.reset();
  EXPECT_THAT(text_of(explanation), HasSubstr("              tells nobody about it\n"));
}

TEST(TextReport, ShowsTheWholeReplyByteForByteElsewhereThanOnATerminal) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].mail.whole = "a\x1b\nb";
  EXPECT_THAT(text_of(explanation, {true, false, false}),
              HasSubstr("  text        the whole reply\na\x1b\nb"));
  EXPECT_THAT(text_of(explanation, {true, true, false}),
              HasSubstr("  text        the whole reply\n    | a\\x1B\n    | b\n"));
}

TEST(TextReport, UsesColours) {
  const std::string text = text_of(filled_explanation(), {false, true, true});
  EXPECT_THAT(text, HasSubstr("\033[1mMessage\033[0m\n"));
  EXPECT_THAT(text, HasSubstr("\033[1mRule 7\033[0m \033[32mreplies\033[0m\n"));
  EXPECT_THAT(text, HasSubstr("\033[1mRule 8\033[0m \033[31mis not triggered\033[0m\n"));
  EXPECT_THAT(text, HasSubstr("\033[32mA reply would leave.\033[0m"));
  EXPECT_THAT(text, HasSubstr("\033[33mgone.txt\033[0m"));
  EXPECT_THAT(text, HasSubstr("reply: \033[31mrefused, it holds a quote\033[0m"));
}

}  // namespace
