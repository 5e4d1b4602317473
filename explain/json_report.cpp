#include "explain/json_text.h"
#include "explain/reports.h"
#include "explain/wording.h"

namespace {

Json message_of(const Explanation& explanation) {
  const IncomingMessage& message = explanation.message;
  Json result{{"sender", message.sender},
              {"sender_from", words_for(explanation.sender_field).code}};
  if (!explanation.guard) return result;  // no recipient was determined
  result["recipient"] = message.recipient;
  result["recipient_from"] = words_for(explanation.recipient_source).code;
  result["subject"] = message.subject;
  if (explanation.subject_with_repairs) {
    result["subject_with_repairs"] = *explanation.subject_with_repairs;
  }
  result["charset"] = message.charset;
  return result;
}

Json trigger_of(const ResponderRule& rule, const TriggerMatch& trigger) {
  Json result{{"place", words_for(trigger_place(rule)).code},
              {"key", rule.keystr},
              {"found", trigger.fires}};
  if (trigger.line > 0) result["line"] = trigger.line;
  return result;
}

Json limiter_of(const ResponderRule& rule, const LimiterFacts& limiter) {
  Json result{{"replies_a_day", number_of(rule.ans_freq)},
              {"senders_remembered", number_of(rule.mem_limit)}};
  if (!limiter.step) return result;
  result["senders"] = limiter.senders;
  result["replies_today"] =
      limiter.replies_today ? number_of(*limiter.replies_today) : Json(nullptr);
  result["step"] = words_for(*limiter.step).code;
  result["evicted"] = limiter.evicted;
  return result;
}

Json attachments_of(const AttachmentList& attachments) {
  Json found = Json::array();
  for (const Attachment& attachment : attachments.found) {
    found.push_back(
        {{"name", attachment.name}, {"path", attachment.path}, {"size", attachment.size}});
  }
  return {{"found", found}, {"missing", attachments.missing}};
}

Json reply_of(const ReplyFacts& reply, const MailText& mail, bool show_reply) {
  Json result{{"subject", reply.subject.Whole()},
              {"headers", mail.headers},
              {"size", reply.size},
              {"limit", reply.limit},
              {"replaced", reply.is_replaced}};
  if (show_reply) result["text"] = mail.whole;
  return result;
}

Json commands_of(const std::vector<CommandFacts>& commands) {
  Json result = Json::array();
  for (const CommandFacts& command : commands) {
    result.push_back({{"purpose", words_for(command.purpose).code},
                      {"line", command.line},
                      {"fate", command.not_run ? words_for(*command.not_run).code : "runs"}});
  }
  return result;
}

Json codes_of(const std::vector<const Repair*>& repairs) {
  Json result = Json::array();
  for (const Repair* const repair : repairs) result.push_back(repair->code);
  return result;
}

Json rule_of(const RuleExplanation& facts, bool show_reply) {
  Json result{{"id", number_of(facts.rule.id)}, {"outcome", words_for(facts).code}};
  if (!facts.trouble.empty()) result["trouble"] = facts.trouble;
  const AnswerFacts& answer = facts.answer;
  if (!answer.objection.empty()) result["objection"] = answer.objection;
  if (facts.trigger) result["trigger"] = trigger_of(facts.rule, *facts.trigger);
  if (answer.limiter) result["limiter"] = limiter_of(facts.rule, *answer.limiter);
  if (answer.forwarding) result["forwarding"] = *answer.forwarding;
  const AttachmentList& attachments = answer.attachments;
  if (!attachments.found.empty() || !attachments.missing.empty()) {
    result["attachments"] = attachments_of(attachments);
  }
  if (const auto& notification = answer.notification) {
    result["notification"] = {{"sender", notification->sender},
                              {"owner_email", notification->owner_email},
                              {"owner_name", notification->owner_name}};
  }
  if (answer.reply) result["reply"] = reply_of(*answer.reply, facts.mail, show_reply);
  result["commands"] = commands_of(facts.commands);
  if (!facts.with_repairs.empty()) result["with_repairs"] = codes_of(facts.with_repairs);
  return result;
}

}  // namespace

void write_json(std::ostream& out, const Explanation& explanation, const TextStyle& style) {
  Json result{{"verdict", words_for(explanation.verdict).code},
              {"reason", words_for(explanation.reason).code}};
  if (!explanation.trouble.empty()) result["trouble"] = explanation.trouble;
  result["switches"] = switches_json(explanation.switches);
  if (!explanation.with_repairs.empty()) {
    result["with_repairs"] = codes_of(explanation.with_repairs);
  }
  const bool has_sender = explanation.sender_field != SenderField::kNone;
  if (has_sender) result["message"] = message_of(explanation);
  if (explanation.guard) result["guard"] = words_for(*explanation.guard).code;
  if (explanation.panel.mailbox) result["mailbox"] = mailbox_json(*explanation.panel.mailbox);
  if (explanation.with_courtesy)
    result["with_courtesy"] = words_for(*explanation.with_courtesy).code;
  if (!explanation.objection.empty()) result["objection"] = explanation.objection;
  result["rules"] = Json::array();
  for (const RuleExplanation& rule : explanation.rules) {
    result["rules"].push_back(rule_of(rule, style.show_reply));
  }
  result["diagnostics"] = explanation.diagnostics;
  write_json_text(out, result, style.on_terminal);
}
