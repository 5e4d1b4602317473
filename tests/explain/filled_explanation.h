#pragma once

#include "explain/explanation.h"
#include "explain/repairs.h"

/// An explanation in which every step was reached: rule 7 replies with an attachment and forwards,
/// rule 8 is not triggered.
inline Explanation filled_explanation() {
  Explanation all;
  all.verdict = Verdict::kReply;
  all.reason = Reason::kRuleReplies;
  all.with_courtesy = CourtesyChange::kMarkedReply;
  all.with_repairs = {repair_named("subject")};
  all.message.sender = "otto@customer.example";
  all.message.SetRecipient("sales@shop.example");
  all.message.subject = "A \"price\"";
  all.message.charset = "UTF-8";
  all.subject_with_repairs = "A price";
  all.sender_field = SenderField::kReplyTo;
  all.recipient_source = RecipientSource::kEnvironment;
  all.guard = LoopGuard::kPassed;
  all.panel.mailbox = {{"1", "info", "shop.example"}, MailboxLookup::kAlias};

  RuleExplanation& replies = all.rules.emplace_back();
  replies.rule.id = "7";
  replies.rule.keystr = "price";
  replies.rule.key_where = "body";
  replies.rule.ans_freq = "5";
  replies.rule.mem_limit = "20";
  replies.outcome = RuleOutcome::kReplies;
  replies.trigger = TriggerMatch{true, 3};
  LimiterFacts limiter;
  limiter.senders = 20;
  limiter.step = LimiterStep::kEvictAndRemember;
  limiter.evicted = {"old@x.example"};
  replies.answer.limiter = limiter;
  replies.answer.forwarding = " anna@x.example ben@x.example ";
  replies.answer.attachments.found = {{"list.txt", "/store/list.txt", 7}};
  replies.answer.attachments.missing = {"gone.txt"};
  replies.answer.notification = Notification{"root@localhost", "grete@customer.example", "Grete"};
  replies.answer.reply = ReplyFacts{300, 5000, false, {"Re: ", "A price"}};
  replies.mail = {"From: x\nTo: y", "From: x\nTo: y\n\nThank you.\n"};
  replies.commands = {{Purpose::kForward, "forward it", std::nullopt},
                      {Purpose::kReply, "send 'it\n now'", NotRun::kQuote}};
  replies.with_repairs = {repair_named("quotes")};

  RuleExplanation& silent = all.rules.emplace_back();
  silent.rule.id = "8";
  silent.rule.keystr = "invoice";
  silent.rule.key_where = "subj";
  silent.outcome = RuleOutcome::kNotTriggered;
  silent.trigger = TriggerMatch{false, 0};
  return all;
}
