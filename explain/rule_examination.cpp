#include "explain/rule_examination.h"

#include "autoresponder/engine/answer.h"
#include "explain/recorded_effects.h"

namespace {

TriggerFacts examine_trigger(const ResponderRule& rule, const IncomingMessage& message) {
  TriggerFacts facts;
  facts.place = trigger_place(rule);
  facts.found = rule_fires(rule, message);
  if (facts.place == TriggerPlace::kBody) facts.line = message.body_lines.FirstWith(rule.keystr);
  return facts;
}

RuleOutcome outcome_of_limiter(const LimiterFacts& limiter) {
  return limiter.step ? RuleOutcome::kLimitReached : RuleOutcome::kNeverReplies;
}

RuleOutcome outcome_of_reply(const RuleExplanation& facts) {
  switch (facts.commands.back().fate) {
    case CommandFate::kRefused:
      return RuleOutcome::kQuoteInCommand;
    case CommandFate::kTooLong:
      return RuleOutcome::kCommandTooLong;
    case CommandFate::kNoProgram:
      return RuleOutcome::kNoSendmail;
    case CommandFate::kRuns:
      break;
  }
  return facts.reply->is_replaced ? RuleOutcome::kRepliesWithNotice : RuleOutcome::kReplies;
}

RuleOutcome examine_answer(PanelDatabase& database, const Explanation& explanation,
                           bool whole_reply, RuleExplanation& facts) {
  const IncomingMessage& message = explanation.message;
  if (!is_active(facts.rule)) return RuleOutcome::kSwitchedOff;
  facts.trigger = examine_trigger(facts.rule, message);
  if (!facts.trigger->found) return RuleOutcome::kNotTriggered;
  RecordedEffects effects(database, message, whole_reply, facts);
  answer(database, facts.rule, explanation.mailbox->mailbox, message, explanation.switches,
         effects);
  if (!allows_reply(*facts.limiter)) return outcome_of_limiter(*facts.limiter);
  return outcome_of_reply(facts);
}

}  // namespace

bool is_refusal(const PanelFailure& failure) {
  constexpr unsigned kFirstClientError = 2000;
  return failure.error() > 0 && failure.error() < kFirstClientError;
}

void examine_rule(PanelDatabase& database, const Explanation& explanation, bool whole_reply,
                  RuleExplanation& facts) {
  try {
    facts.outcome = examine_answer(database, explanation, whole_reply, facts);
  } catch (const NotAscii&) {
    facts.outcome = RuleOutcome::kRecipientNotAscii;
  } catch (const CannotTell& trouble) {
    facts.outcome = RuleOutcome::kUnknown;
    facts.trouble = trouble.what();
  } catch (const PanelFailure& failure) {
    if (!is_refusal(failure)) throw;
    facts.outcome = RuleOutcome::kStatementFails;
    facts.trouble = failure.what();
  }
}
