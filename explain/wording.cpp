#include "explain/wording.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "explain/check/formatting.h"

namespace {

template <class Enumeration>
struct Entry {
  Enumeration value;
  const char* code;
  const char* text;
};

// Each table has an entry for each value.
template <class Enumeration, size_t kCount>
Words pick(const Entry<Enumeration> (&entries)[kCount], Enumeration value) {
  const auto* const entry =
      std::find_if(std::begin(entries), std::end(entries),
                   [value](const Entry<Enumeration>& one) { return one.value == value; });
  return entry != std::end(entries) ? Words{entry->code, entry->text} : Words{"", ""};
}

Words words_of(RuleOutcome outcome) {
  static constexpr Entry<RuleOutcome> kEntries[] = {
      {RuleOutcome::kReplies, "replies", "replies"},
      {RuleOutcome::kRepliesWithNotice, "replies_with_notice",
       "sends a notice, because the reply is too large"},
      {RuleOutcome::kSwitchedOff, "switched_off", "is switched off"},
      {RuleOutcome::kNotTriggered, "not_triggered", "is not triggered"},
      {RuleOutcome::kNeverReplies, "never_replies", "allows no reply a day"},
      {RuleOutcome::kLimitReached, "limit_reached", "has answered this sender often enough today"},
      {RuleOutcome::kCourtesy, "courtesy", "sends no reply, courtesy"},
      {RuleOutcome::kReadAsOption, "read_as_option",
       "gets no reply out: the mail server reads the sender as an option"},
      {RuleOutcome::kReplyToUnreadable, "reply_to_unreadable",
       "gets no reply out: the mail server cannot parse its Reply-To"},
      {RuleOutcome::kNotWhole, "not_whole",
       "gets no reply out: its attachments cannot be appended completely"},
      {RuleOutcome::kRecipientNotAscii, "recipient_not_ascii",
       "ends the run: the recipient has no ASCII form"},
      {RuleOutcome::kStatementFails, "statement_fails",
       "ends the run: the database refuses a statement"},
      {RuleOutcome::kNotReached, "not_reached", "is not reached: an earlier rule ends the run"},
      {RuleOutcome::kUnknown, "unknown", "cannot be told"},
  };
  return pick(kEntries, outcome);
}

// For a reply whose command is not run.
Words words_of_lost_reply(NotRun reason) {
  static constexpr Entry<NotRun> kEntries[] = {
      {NotRun::kQuote, "quote_in_command",
       "gets no reply out: its command holds a quote and is refused"},
      {NotRun::kNewline, "newline_in_command",
       "gets no reply out: its command holds a newline and is refused"},
      {NotRun::kOption, "sender_is_option",
       "gets no reply out: the mail server would read the sender as an option"},
      {NotRun::kTooLong, "command_too_long",
       "gets no reply out: the system starts no command of this length"},
      {NotRun::kNoProgram, "no_sendmail",
       "gets no reply out: the mail server's sendmail is missing or not executable"},
  };
  return pick(kEntries, reason);
}

}  // namespace

Words words_for(Verdict verdict) {
  static constexpr Entry<Verdict> kEntries[] = {
      {Verdict::kReply, "reply", "A reply would leave."},
      {Verdict::kNoReply, "no_reply", "No reply would leave."},
      {Verdict::kUnknown, "unknown", "It cannot be told."},
  };
  return pick(kEntries, verdict);
}

Words words_for(Reason reason) {
  static constexpr Entry<Reason> kEntries[] = {
      {Reason::kRuleReplies, "rule_replies", "at least one rule replies"},
      {Reason::kNoSender, "no_sender", "neither Reply-To nor From names a sender"},
      {Reason::kNoRecipient, "no_recipient",
       "there is no recipient: no RECIPIENT, and To names nobody"},
      {Reason::kRunAborts, "run_aborts", "the end of the subject aborts the run"},
      {Reason::kReaderFails, "reader_fails", "taking the message apart fails"},
      {Reason::kSenderIsRecipient, "sender_is_recipient", "the sender is the recipient"},
      {Reason::kMailerDaemon, "mailer_daemon", "the sender is a mailer daemon"},
      {Reason::kMailboxNotFound, "mailbox_not_found", "the recipient is no mailbox of the panel"},
      {Reason::kNoRules, "no_rules", "the mailbox has no rules"},
      {Reason::kNoRuleReplies, "no_rule_replies", "no rule replies"},
      {Reason::kCourtesy, "courtesy", "courtesy"},
      {Reason::kStatementFails, "statement_fails",
       "the database refuses a statement, which ends the run"},
      {Reason::kNoSuchRule, "no_such_rule", "the mailbox has no such rule"},
      {Reason::kMessageUnreadable, "message_unreadable", "the message cannot be read"},
      {Reason::kDatabaseFails, "database_fails", "the database fails"},
      {Reason::kReplyNotBuilt, "reply_not_built", "the reply cannot be built"},
      {Reason::kLibraryGivesUp, "library_gives_up", "the panel's library gives up"},
  };
  return pick(kEntries, reason);
}

Words words_for(SenderField field) {
  static constexpr Entry<SenderField> kEntries[] = {
      {SenderField::kNone, "none", ""},
      {SenderField::kReplyTo, "reply_to", "Reply-To"},
      {SenderField::kFrom, "from", "From"},
  };
  return pick(kEntries, field);
}

Words words_for(RecipientSource source) {
  static constexpr Entry<RecipientSource> kEntries[] = {
      {RecipientSource::kOption, "option", "--recipient"},
      {RecipientSource::kEnvironment, "environment", "RECIPIENT"},
      {RecipientSource::kTo, "to", "To"},
  };
  return pick(kEntries, source);
}

Words words_for(LoopGuard guard) {
  static constexpr Entry<LoopGuard> kEntries[] = {
      {LoopGuard::kPassed, "passed", "passed"},
      {LoopGuard::kSenderIsRecipient, "sender_is_recipient",
       "refused: the sender is the recipient"},
      {LoopGuard::kMailerDaemon, "mailer_daemon", "refused: the sender is a mailer daemon"},
  };
  return pick(kEntries, guard);
}

Words words_for(MailboxLookup lookup) {
  static constexpr Entry<MailboxLookup> kEntries[] = {
      {MailboxLookup::kMailName, "mail_name", "by its name"},
      {MailboxLookup::kAlias, "alias", "by an alias of the mailbox"},
      {MailboxLookup::kDomainAlias, "domain_alias", "by an alias of the domain"},
      {MailboxLookup::kAliasAndDomainAlias, "alias_and_domain_alias",
       "by an alias of the mailbox and one of the domain"},
  };
  return pick(kEntries, lookup);
}

Words words_for(TriggerPlace place) {
  static constexpr Entry<TriggerPlace> kEntries[] = {
      {TriggerPlace::kNowhere, "nowhere", "every message"},
      {TriggerPlace::kSubject, "subject", "the subject"},
      {TriggerPlace::kBody, "body", "the body"},
  };
  return pick(kEntries, place);
}

Words words_for(LimiterStep step) {
  static constexpr Entry<LimiterStep> kEntries[] = {
      {LimiterStep::kRefuse, "refuse", "no reply"},
      {LimiterStep::kCountUp, "count_up", "replies, and counts it"},
      {LimiterStep::kRemember, "remember", "replies, and remembers this one"},
      {LimiterStep::kEvictAndRemember, "evict_and_remember",
       "forgets the oldest, replies, and remembers this one"},
  };
  return pick(kEntries, step);
}

Words words_for(CourtesyChange change) {
  static constexpr Entry<CourtesyChange> kEntries[] = {
      {CourtesyChange::kNoReply, "no_reply", "no reply would leave"},
      {CourtesyChange::kMarkedReply, "marked_reply",
       "the reply would say that it is automatic, and have no envelope sender"},
  };
  return pick(kEntries, change);
}

Words words_for(const RuleExplanation& rule) {
  if (rule.outcome != RuleOutcome::kCommandNotRun) return words_of(rule.outcome);
  return words_of_lost_reply(*rule.commands.back().not_run);
}

Words words_for(Purpose purpose) {
  static constexpr Entry<Purpose> kEntries[] = {
      {Purpose::kForward, "forward", "forward"},
      {Purpose::kNotify, "notify", "notify"},
      {Purpose::kAttach, "attach", "attach"},
      {Purpose::kReply, "reply", "reply"},
  };
  return pick(kEntries, purpose);
}

Words words_for(NotRun reason) {
  static constexpr Entry<NotRun> kEntries[] = {
      {NotRun::kQuote, "refused", "refused, it holds a quote"},
      {NotRun::kNewline, "refused_newline", "refused, it holds a newline"},
      {NotRun::kOption, "refused_option", "refused, the address would be read as an option"},
      {NotRun::kTooLong, "too_long", "not started, it is too long"},
      {NotRun::kNoProgram, "no_program",
       "not started, the mail server's sendmail is missing or not executable"},
  };
  return pick(kEntries, reason);
}

std::string words_for(const Switches& switches) {
  const auto word = [](bool is_on) { return is_on ? "on" : "off"; };
  return formatted("Switches: repairs {}, courtesy {}.\n", word(has_repairs(switches)),
                   word(switches.courtesy));
}

const char* effect_of(const Repair& repair) {
  static constexpr Words kEffects[] = {
      {"limiter", "the sender, which is longer than the limiter's column, would be found again"},
      {"quotes", "a command that holds a quote would run"},
      {"forwarding", "the shell would read nothing in the forwarding addresses"},
      {"newlines", "a command that holds a newline would not run"},
      {"options", "nothing would be mailed to an address that begins with \"-\""},
      {"store", "an attachment that is no plain file in the store would count as missing"},
      {"lines", "control characters in the rule's header texts would become blanks"},
      {"notification", "the notification's Reply-To would get its line end"},
      {"file_names", "mail programs would read the attachments' names as they are"},
      {"local_parts", "the mail server would not quote the sender's quotes once more"},
      {"reply_to", "the Reply-To, which the mail server cannot parse, would be left out"},
      {"subject", "the subject would be read as one line, which never aborts the run"},
  };
  const auto* const words =
      std::find_if(std::begin(kEffects), std::end(kEffects),
                   [&repair](const Words& one) { return strcmp(one.code, repair.code) == 0; });
  return words != std::end(kEffects) ? words->text : "";
}
