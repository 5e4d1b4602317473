#include "explain/rule_examination.h"

#include <unistd.h>

#include "autoresponder/delivery.h"
#include "autoresponder/forwarding.h"
#include "autoresponder/reply.h"
#include "explain/limiter_facts.h"
#include "explain/reply_in_memory.h"
#include "support/base/owned.h"
#include "support/idn.h"

namespace {

TriggerFacts examine_trigger(const ResponderRule& rule, const IncomingMessage& message) {
  TriggerFacts facts;
  facts.place = trigger_place(rule);
  facts.found = rule_fires(rule, message);
  if (facts.place == TriggerPlace::kBody) facts.line = message.body_lines.FirstWith(rule.keystr);
  return facts;
}

// The kernel takes no single argument of more than 32 pages, its NUL included.
bool is_too_long(const ShellCommand& command) {
  return command.line().size() >= 32 * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void add_command(const char* purpose, const ShellCommand& command, RuleExplanation& facts) {
  CommandFate fate = is_too_long(command) ? CommandFate::kTooLong : CommandFate::kRuns;
  if (command.escaping_value()) fate = CommandFate::kRefused;
  facts.commands.push_back({purpose, command.line(), fate});
}

void examine_forwarding(PanelDatabase& database, const IncomingMessage& message,
                        RuleExplanation& facts) {
  facts.forwarding = forwarding_addresses(database, facts.rule.id);
  if (facts.forwarding)
    add_command("forward", forwarding_command(message, *facts.forwarding), facts);
}

void examine_attachments(PanelDatabase& database, const MailboxRef& mailbox,
                         const IncomingMessage& message, RuleExplanation& facts) {
  facts.attachments = find_attachments(database, facts.rule.id, mailbox);
  if (facts.attachments.missing.empty()) return;
  facts.notification = address_notification(database, message);
  if (facts.notification) add_command("notify", notification_command(*facts.notification), facts);
}

bool has_ascii_form(const std::string& address) {
  return OwnedText(idn_toascii(address.c_str())) != nullptr;
}

// The reply as the run builds it, by the run's own functions.
ReplyFacts build_reply(const RuleExplanation& facts, const IncomingMessage& message,
                       const std::string& boundary, bool whole) {
  const std::vector<Attachment>& found = facts.attachments.found;
  ReplyFacts reply;
  reply.subject = reply_subject(facts.rule, message).Whole();
  reply.limit = size_limit();
  const ReplyInMemory memory;
  if (!write_response_file(facts.rule, message, found.empty() ? "" : boundary)) {
    throw CannotTell(Reason::kReplyNotBuilt, "Unable to build the reply in memory.");
  }
  append_attachments(found, boundary);
  reply.size = memory.Size();
  reply.is_replaced = response_file_exceeds(reply.limit);
  if (reply.is_replaced) {
    replace_by_notice(facts.rule, message);
    reply.subject = notice_subject(message).Whole();
  }
  reply.headers = memory.TextUpTo("\n\n");
  if (whole) reply.text = memory.TextUpTo("");
  return reply;
}

RuleOutcome outcome_of_reply(const RuleExplanation& facts) {
  switch (facts.commands.back().fate) {
    case CommandFate::kRefused:
      return RuleOutcome::kQuoteInCommand;
    case CommandFate::kTooLong:
      return RuleOutcome::kCommandTooLong;
    case CommandFate::kRuns:
      break;
  }
  return facts.reply->is_replaced ? RuleOutcome::kRepliesWithNotice : RuleOutcome::kReplies;
}

RuleOutcome examine_reply(const IncomingMessage& message, const std::string& boundary, bool whole,
                          RuleExplanation& facts) {
  if (!has_ascii_form(message.recipient)) return RuleOutcome::kRecipientNotAscii;
  facts.reply = build_reply(facts, message, boundary, whole);
  const std::vector<Attachment>& found = facts.attachments.found;
  if (!found.empty()) add_command("attach", attachment_command(found, boundary), facts);
  add_command("reply", delivery_command(message), facts);
  return outcome_of_reply(facts);
}

RuleOutcome examine_steps(PanelDatabase& database, const MailboxRef& mailbox,
                          const IncomingMessage& message, bool whole_reply,
                          RuleExplanation& facts) {
  const ResponderRule& rule = facts.rule;
  if (!is_active(rule)) return RuleOutcome::kSwitchedOff;
  facts.trigger = examine_trigger(rule, message);
  if (!facts.trigger->found) return RuleOutcome::kNotTriggered;
  facts.limiter.emplace();
  read_limiter(database, rule, message, *facts.limiter);
  const std::optional<LimiterStep> step = facts.limiter->step;
  if (!step) return RuleOutcome::kNeverReplies;
  if (*step == LimiterStep::kRefuse) return RuleOutcome::kLimitReached;
  examine_forwarding(database, message, facts);
  const std::string boundary = draw_boundary();
  examine_attachments(database, mailbox, message, facts);
  return examine_reply(message, boundary, whole_reply, facts);
}

}  // namespace

void examine_rule(PanelDatabase& database, const MailboxRef& mailbox,
                  const IncomingMessage& message, bool whole_reply, RuleExplanation& facts) {
  try {
    facts.outcome = examine_steps(database, mailbox, message, whole_reply, facts);
  } catch (const RefusedStatement& refusal) {
    facts.outcome = RuleOutcome::kStatementFails;
    facts.trouble = refusal.what();
  }
}
