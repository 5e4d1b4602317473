#include "explain/rule_examination.h"

#include "autoresponder/engine/answer.h"
#include "explain/recorded_effects.h"
#include "explain/repairs.h"

namespace {

RuleOutcome outcome_of_limiter(const LimiterFacts& limiter) {
  return limiter.step ? RuleOutcome::kLimitReached : RuleOutcome::kNeverReplies;
}

RuleOutcome outcome_of_reply(const RuleExplanation& facts) {
  if (facts.is_left_unsent) return RuleOutcome::kNotWhole;
  switch (facts.commands.back().fate) {
    case CommandFate::kRefused:
      return RuleOutcome::kQuoteInCommand;
    case CommandFate::kRefusedNewline:
      return RuleOutcome::kNewlineInCommand;
    case CommandFate::kRefusedOption:
      return RuleOutcome::kSenderIsOption;
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
  if (!facts.trigger) return RuleOutcome::kSwitchedOff;
  if (!facts.trigger->fires) return RuleOutcome::kNotTriggered;
  RecordedEffects effects(database, explanation, whole_reply, facts);
  answer(database, facts.rule, explanation.mailbox->mailbox, message, explanation.switches,
         effects);
  if (!allows_reply(*facts.limiter)) return outcome_of_limiter(*facts.limiter);
  if (!facts.objection.empty()) return RuleOutcome::kCourtesy;
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
    facts.is_sender_too_long = failure.error() == kDataTooLong;
  }
  facts.with_repairs = changes_by_repairs(explanation, facts);
}
