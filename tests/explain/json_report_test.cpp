#include <sstream>

#include <gtest/gtest.h>

#include "explain/json_text.h"
#include "explain/reports.h"
#include "filled_explanation.h"

namespace {

Json json_of(const Explanation& explanation, bool show_reply = false) {
  std::ostringstream out;
  write_json(out, explanation, {show_reply, false, false});
  return Json::parse(out.str());
}

TEST(JsonReport, TellsEverything) {
  const Json want = Json::parse(R"({
    "verdict": "reply", "reason": "rule_replies",
    "switches": {"repairs": false, "courtesy": false}, "with_repairs": ["subject"],
    "message": {"sender": "otto@customer.example", "sender_from": "reply_to",
                "recipient": "sales@shop.example", "recipient_from": "environment",
                "subject": "A \"price\"", "subject_with_repairs": "A price", "charset": "UTF-8"},
    "guard": "passed",
    "mailbox": {"id": 1, "mail_name": "info", "domain_name": "shop.example", "found_by": "alias"},
    "with_courtesy": "marked_reply",
    "rules": [
      {"id": 7, "outcome": "replies",
       "trigger": {"place": "body", "key": "price", "found": true, "line": 3},
       "limiter": {"replies_a_day": 5, "senders_remembered": 20, "senders": 20,
                   "replies_today": null, "step": "evict_and_remember",
                   "evicted": ["old@x.example"]},
       "forwarding": " anna@x.example ben@x.example ",
       "attachments": {"found": [{"name": "list.txt", "path": "/store/list.txt", "size": 7}],
                       "missing": ["gone.txt"]},
       "notification": {"sender": "root@localhost", "owner_email": "grete@customer.example",
                        "owner_name": "Grete"},
       "reply": {"subject": "Re: A price", "headers": "From: x\nTo: y", "size": 300,
                 "limit": 5000, "replaced": false},
       "commands": [{"purpose": "forward", "line": "forward it", "fate": "runs"},
                    {"purpose": "reply", "line": "send 'it\n now'", "fate": "refused"}],
       "with_repairs": ["quotes"]},
      {"id": 8, "outcome": "not_triggered",
       "trigger": {"place": "subject", "key": "invoice", "found": false}, "commands": []}],
    "diagnostics": ""})");
  EXPECT_EQ(json_of(filled_explanation()), want) << json_of(filled_explanation()).dump(1);
}

TEST(JsonReport, HasNoMessageWithoutSender) {
  Explanation explanation;
  explanation.verdict = Verdict::kUnknown;
  explanation.reason = Reason::kDatabaseFails;
  explanation.trouble = "gone away";
  explanation.objection = "spam";
  explanation.diagnostics = "a line\n";
  explanation.switches.repairs.quotes = true;
  EXPECT_EQ(json_of(explanation), Json::parse(R"({
    "verdict": "unknown", "reason": "database_fails", "trouble": "gone away",
    "switches": {"repairs": true, "courtesy": false}, "objection": "spam", "rules": [],
    "diagnostics": "a line\n"})"));
}

TEST(JsonReport, HasOnlyTheSenderWhereNoRecipientWasDetermined) {
  Explanation explanation = filled_explanation();
  explanation.guard.reset();
  EXPECT_EQ(json_of(explanation)["message"],
            Json::parse(R"({"sender": "otto@customer.example", "sender_from": "reply_to"})"));
}

TEST(JsonReport, HasTheWholeReplyIfItIsAskedFor) {
  EXPECT_EQ(json_of(filled_explanation(), true)["rules"][0]["reply"]["text"],
            "From: x\nTo: y\n\nThank you.\n");
}

TEST(JsonReport, HasWhatARuleHasOnly) {
  Explanation explanation = filled_explanation();
  RuleExplanation& rule = explanation.rules[1];
  rule.trouble = "no such table";
  rule.answer.objection = "List-Id";
  rule.answer.limiter = LimiterFacts();
  rule.answer.attachments.missing = {"gone.txt"};
  const Json json = json_of(explanation)["rules"][1];
  EXPECT_EQ(json["trouble"], "no such table");
  EXPECT_EQ(json["objection"], "List-Id");
  EXPECT_EQ(json["limiter"], Json::parse(R"({"replies_a_day": 10, "senders_remembered": 1000})"));
  EXPECT_EQ(json["attachments"], Json::parse(R"({"found": [], "missing": ["gone.txt"]})"));
}

TEST(JsonReport, CountsTheRepliesOfToday) {
  Explanation explanation = filled_explanation();
  explanation.rules[0].answer.limiter->replies_today = "4";
  EXPECT_EQ(json_of(explanation)["rules"][0]["limiter"]["replies_today"], 4);
}

}  // namespace
