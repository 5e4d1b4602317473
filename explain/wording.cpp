#include "explain/wording.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "explain/check/check.h"
#include "explain/check/formatting.h"

namespace {

// The words for one value of an enumeration.
struct Entry {
  template <class Enumeration>
  constexpr Entry(Enumeration one, const char* code, const char* text)
      : kind(&kKindOf<Enumeration>), value(static_cast<int>(one)), words{code, text} {}

  const void* kind;
  int value;
  Words words;
};

// Has an entry for each value of each enumeration that a report names.
constexpr Entry kEntries[] = {
    {Verdict::kReply, "reply", "A reply would leave."},
    {Verdict::kNoReply, "no_reply", "No reply would leave."},
    {Verdict::kUnknown, "unknown", "It cannot be told."},
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
    {SenderField::kNone, "none", ""},
    {SenderField::kReplyTo, "reply_to", "Reply-To"},
    {SenderField::kFrom, "from", "From"},
    {RecipientSource::kOption, "option", "--recipient"},
    {RecipientSource::kEnvironment, "environment", "RECIPIENT"},
    {RecipientSource::kTo, "to", "To"},
    {LoopGuard::kPassed, "passed", "passed"},
    {LoopGuard::kSenderIsRecipient, "sender_is_recipient", "refused: the sender is the recipient"},
    {LoopGuard::kMailerDaemon, "mailer_daemon", "refused: the sender is a mailer daemon"},
    {MailboxLookup::kMailName, "mail_name", "by its name"},
    {MailboxLookup::kAlias, "alias", "by an alias of the mailbox"},
    {MailboxLookup::kDomainAlias, "domain_alias", "by an alias of the domain"},
    {MailboxLookup::kAliasAndDomainAlias, "alias_and_domain_alias",
     "by an alias of the mailbox and one of the domain"},
    {TriggerPlace::kNowhere, "nowhere", "every message"},
    {TriggerPlace::kSubject, "subject", "the subject"},
    {TriggerPlace::kBody, "body", "the body"},
    {LimiterStep::kRefuse, "refuse", "no reply"},
    {LimiterStep::kCountUp, "count_up", "replies, and counts it"},
    {LimiterStep::kRemember, "remember", "replies, and remembers this one"},
    {LimiterStep::kEvictAndRemember, "evict_and_remember",
     "forgets the oldest, replies, and remembers this one"},
    {CourtesyChange::kNoReply, "no_reply", "no reply would leave"},
    {CourtesyChange::kMarkedReply, "marked_reply",
     "the reply would say that it is automatic, and have no envelope sender"},
    {Purpose::kForward, "forward", "forward"},
    {Purpose::kNotify, "notify", "notify"},
    {Purpose::kAttach, "attach", "attach"},
    {Purpose::kReply, "reply", "reply"},
    {NotRun::kQuote, "refused", "refused, it holds a quote"},
    {NotRun::kNewline, "refused_newline", "refused, it holds a newline"},
    {NotRun::kOption, "refused_option", "refused, the address would be read as an option"},
    {NotRun::kTooLong, "too_long", "not started, it is too long"},
    {NotRun::kNoProgram, "no_program",
     "not started, the mail server's sendmail is missing or not executable"},
    {Severity::kError, "error", "error"},
    {Severity::kWarning, "warning", "warning"},
    {Severity::kUnseen, "unseen", "not seen"},
    {Severity::kAdvice, "advice", "advice"},
};

// For a reply whose command is not run.
constexpr Entry kLostReplies[] = {
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

template <size_t kCount>
Words find_words(const Entry (&entries)[kCount], const void* kind, int value) {
  const auto* const entry = std::find_if(
      std::begin(entries), std::end(entries),
      [kind, value](const Entry& one) { return one.kind == kind && one.value == value; });
  return entry != std::end(entries) ? entry->words : Words{"", ""};
}

}  // namespace

Words words_for(const void* kind, int value) {
  return find_words(kEntries, kind, value);
}

Words words_for(const RuleExplanation& rule) {
  if (rule.outcome != RuleOutcome::kCommandNotRun) return words_for(rule.outcome);
  const NotRun reason = *rule.commands.back().not_run;
  return find_words(kLostReplies, &kKindOf<NotRun>, static_cast<int>(reason));
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
  const auto* const words = std::find_if(
      std::begin(kEffects), std::end(kEffects),
      [&repair](const Words& one) { return one.code == std::string_view(repair.code); });
  return words != std::end(kEffects) ? words->text : "";
}
