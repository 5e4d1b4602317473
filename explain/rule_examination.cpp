#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/shell.h"
#include "autoresponder/run/temporary_files.h"
#include "explain/examination.h"
#include "explain/recorded_effects.h"
#include "explain/repairs.h"

namespace {

RuleOutcome outcome_of_limiter(const LimiterFacts& limiter) {
  return limiter.step ? RuleOutcome::kLimitReached : RuleOutcome::kNeverReplies;
}

RuleOutcome outcome_of_reply(const Explanation& explanation, const RuleExplanation& facts) {
  if (facts.answer.unsent == Unsent::kNotWhole) return RuleOutcome::kNotWhole;
  if (facts.answer.unsent) {
    throw CannotTell(Reason::kReplyNotBuilt, "Unable to build the reply in memory.");
  }
  if (facts.commands.back().not_run) return RuleOutcome::kCommandNotRun;
  if (is_option(explanation.message.sender)) return RuleOutcome::kReadAsOption;
  const RepairedRule sent(facts.rule, explanation.switches.repairs);
  if (!can_be_parsed(sent.rule().reply_to)) return RuleOutcome::kReplyToUnreadable;
  return facts.answer.reply->is_replaced ? RuleOutcome::kRepliesWithNotice : RuleOutcome::kReplies;
}

RuleOutcome outcome_of_answer(const Explanation& explanation, const RuleExplanation& facts) {
  if (!allows_reply(*facts.answer.limiter)) return outcome_of_limiter(*facts.answer.limiter);
  if (!facts.answer.objection.empty()) return RuleOutcome::kCourtesy;
  return outcome_of_reply(explanation, facts);
}

// Finds out what the run would do, and keeps what was found even if a statement fails.
void examine_answer(PanelDatabase& database, const Explanation& explanation, bool whole_reply,
                    RuleExplanation& facts) {
  RecordedEffects effects(explanation.message, explanation.switches);
  const auto keep = [&] {
    facts.commands = effects.commands();
    if (facts.answer.reply) facts.mail = effects.Mail(whole_reply);
  };
  try {
    answer(database, facts.rule, explanation.panel.mailbox->mailbox,
           {explanation.message, explanation.switches, spool_template()}, effects, facts.answer);
  } catch (...) {
    keep();
    throw;
  }
  keep();
}

}  // namespace

bool is_refusal(const PanelFailure& failure) {
  constexpr unsigned kFirstClientError = 2000;
  return failure.error() > 0 && failure.error() < kFirstClientError;
}

void examine_rule(PanelDatabase& database, const Explanation& explanation, bool whole_reply,
                  RuleExplanation& facts) {
  try {
    if (!facts.trigger) {
      facts.outcome = RuleOutcome::kSwitchedOff;
    } else if (!facts.trigger->fires) {
      facts.outcome = RuleOutcome::kNotTriggered;
    } else {
      examine_answer(database, explanation, whole_reply, facts);
      facts.outcome = outcome_of_answer(explanation, facts);
    }
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
  facts.with_repairs = repairs_with_effect(explanation, facts);
}
