#include "explain/rule_examination.h"

#include <utility>

#include "autoresponder/delivery.h"
#include "autoresponder/forwarding.h"
#include "autoresponder/reply.h"
#include "explain/limiter_facts.h"
#include "explain/reply_in_memory.h"
#include "support/idn.h"
#include "support/owned.h"

namespace {

TriggerFacts examine_trigger(const ResponderRule& rule, const IncomingMessage& message) {
  TriggerFacts facts;
  facts.place = trigger_place(rule);
  facts.found = rule_fires(rule, message);
  if (facts.place == TriggerPlace::kBody) facts.line = message.body_lines.FirstWith(rule.keystr);
  return facts;
}

void examine_forwarding(PanelDatabase& database, const IncomingMessage& message,
                        RuleExplanation& facts) {
  facts.forwarding = forwarding_addresses(database, facts.rule.id);
  if (!facts.forwarding) return;
  facts.commands.push_back({"forward", forwarding_command(message, *facts.forwarding)});
}

void examine_attachments(PanelDatabase& database, const MailboxRef& mailbox,
                         const IncomingMessage& message, RuleExplanation& facts) {
  facts.attachments = find_attachments(database, facts.rule.id, mailbox);
  if (facts.attachments.missing.empty()) return;
  facts.notification = address_notification(database, message);
  if (!facts.notification) return;
  facts.commands.push_back({"notify", notification_command(*facts.notification)});
}

bool has_ascii_form(const std::string& address) {
  return OwnedText(idn_toascii(address.c_str())) != nullptr;
}

// The reply as the run builds it, by the run's own functions.
ReplyFacts build_reply(const RuleExplanation& facts, const IncomingMessage& message,
                       const std::string& boundary) {
  const std::vector<Attachment>& found = facts.attachments.found;
  ReplyFacts reply;
  reply.subject = reply_subject(facts.rule, message);
  reply.limit = size_limit();
  const ReplyInMemory memory;
  if (!write_response_file(facts.rule, message, found.empty() ? "" : boundary)) {
    throw CannotTell(Reason::kReplyNotBuilt, "Unable to build the reply in memory.");
  }
  append_attachments(found, boundary);
  reply.text = memory.Text();
  reply.size = static_cast<int64_t>(reply.text.size());
  if (response_file_exceeds(reply.limit)) {
    replace_by_notice(facts.rule, message);
    reply.text = memory.Text();
  }
  return reply;
}

RuleOutcome examine_reply(const IncomingMessage& message, const std::string& boundary,
                          RuleExplanation& facts) {
  if (!has_ascii_form(message.recipient)) return RuleOutcome::kRunEnds;
  facts.reply = build_reply(facts, message, boundary);
  const std::vector<Attachment>& found = facts.attachments.found;
  if (!found.empty()) facts.commands.push_back({"attach", attachment_command(found, boundary)});
  const ShellCommand delivery = delivery_command(message);
  facts.commands.push_back({"reply", delivery});
  if (delivery.escaping_value()) return RuleOutcome::kQuoteInCommand;
  const bool is_too_large = facts.reply->limit > 0 && facts.reply->size > facts.reply->limit;
  return is_too_large ? RuleOutcome::kRepliesWithNotice : RuleOutcome::kReplies;
}

}  // namespace

RuleExplanation examine_rule(PanelDatabase& database, const ResponderRule& rule,
                             const MailboxRef& mailbox, const IncomingMessage& message) {
  RuleExplanation facts;
  facts.rule = rule;
  const auto ends_as = [&facts](RuleOutcome outcome) {
    facts.outcome = outcome;
    return std::move(facts);
  };
  if (!is_active(rule)) return ends_as(RuleOutcome::kSwitchedOff);
  facts.trigger = examine_trigger(rule, message);
  if (!facts.trigger->found) return ends_as(RuleOutcome::kNotTriggered);
  facts.limiter = read_limiter(database, rule, message);
  const std::optional<LimiterStep> step = facts.limiter->step;
  if (!step) return ends_as(RuleOutcome::kNeverReplies);
  if (*step == LimiterStep::kRefuse) return ends_as(RuleOutcome::kLimitReached);
  examine_forwarding(database, message, facts);
  const std::string boundary = draw_boundary();
  examine_attachments(database, mailbox, message, facts);
  return ends_as(examine_reply(message, boundary, facts));
}
