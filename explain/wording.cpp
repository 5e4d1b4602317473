#include "explain/wording.h"

#include <cstddef>

namespace {

// Looks up the words for `value`; the table is in the order of the enumeration.
template <class Enumeration, size_t kCount>
Words pick(const Words (&words)[kCount], Enumeration value) {
  return words[static_cast<size_t>(value)];
}

}  // namespace

Words words_for(Verdict verdict) {
  static constexpr Words kWords[] = {
      {"reply", "A reply would leave."},
      {"no_reply", "No reply would leave."},
      {"unknown", "It cannot be told."},
  };
  return pick(kWords, verdict);
}

Words words_for(Reason reason) {
  static constexpr Words kWords[] = {
      {"rule_replies", "at least one rule replies"},
      {"no_sender", "neither Reply-To nor From names a sender"},
      {"no_recipient", "there is no recipient: no RECIPIENT, and To names nobody"},
      {"run_aborts", "the end of the subject aborts the run"},
      {"reader_fails", "taking the message apart fails"},
      {"sender_is_recipient", "the sender is the recipient"},
      {"mailer_daemon", "the sender is a mailer daemon"},
      {"mailbox_not_found", "the recipient is no mailbox of the panel"},
      {"no_rules", "the mailbox has no rules"},
      {"no_rule_replies", "no rule replies"},
      {"courtesy", "courtesy"},
      {"statement_fails", "the database refuses a statement, which ends the run"},
      {"no_such_rule", "the mailbox has no such rule"},
      {"message_unreadable", "the message cannot be read"},
      {"database_fails", "the database fails"},
      {"reply_not_built", "the reply cannot be built"},
      {"library_gives_up", "the panel's library gives up"},
  };
  return pick(kWords, reason);
}

Words words_for(RuleOutcome outcome) {
  static constexpr Words kWords[] = {
      {"replies", "replies"},
      {"replies_with_notice", "sends a notice, because the reply is too large"},
      {"switched_off", "is switched off"},
      {"not_triggered", "is not triggered"},
      {"never_replies", "allows no reply a day"},
      {"limit_reached", "has answered this sender often enough today"},
      {"courtesy", "sends no reply, courtesy"},
      {"quote_in_command", "gets no reply out: its command holds a quote and is refused"},
      {"newline_in_command", "gets no reply out: its command holds a newline and is refused"},
      {"sender_is_option", "gets no reply out: the mail server would read the sender as an option"},
      {"not_whole", "gets no reply out: its attachments cannot be appended completely"},
      {"command_too_long", "gets no reply out: the system starts no command of this length"},
      {"no_sendmail", "gets no reply out: the mail server's sendmail is missing or not executable"},
      {"recipient_not_ascii", "ends the run: the recipient has no ASCII form"},
      {"statement_fails", "ends the run: the database refuses a statement"},
      {"not_reached", "is not reached: an earlier rule ends the run"},
      {"unknown", "cannot be told"},
  };
  return pick(kWords, outcome);
}

Words words_for(SenderField field) {
  static constexpr Words kWords[] = {
      {"none", ""},
      {"reply_to", "Reply-To"},
      {"from", "From"},
  };
  return pick(kWords, field);
}

Words words_for(RecipientSource source) {
  static constexpr Words kWords[] = {
      {"option", "--recipient"},
      {"environment", "RECIPIENT"},
      {"to", "To"},
  };
  return pick(kWords, source);
}

Words words_for(LoopGuard guard) {
  static constexpr Words kWords[] = {
      {"passed", "passed"},
      {"sender_is_recipient", "refused: the sender is the recipient"},
      {"mailer_daemon", "refused: the sender is a mailer daemon"},
  };
  return pick(kWords, guard);
}

Words words_for(MailboxLookup lookup) {
  static constexpr Words kWords[] = {
      {"mail_name", "by its name"},
      {"alias", "by an alias of the mailbox"},
      {"domain_alias", "by an alias of the domain"},
      {"alias_and_domain_alias", "by an alias of the mailbox and one of the domain"},
  };
  return pick(kWords, lookup);
}

Words words_for(TriggerPlace place) {
  static constexpr Words kWords[] = {
      {"nowhere", "every message"},
      {"subject", "the subject"},
      {"body", "the body"},
  };
  return pick(kWords, place);
}

Words words_for(LimiterStep step) {
  static constexpr Words kWords[] = {
      {"refuse", "no reply"},
      {"count_up", "replies, and counts it"},
      {"remember", "replies, and remembers this one"},
      {"evict_and_remember", "forgets the oldest, replies, and remembers this one"},
  };
  return pick(kWords, step);
}

Words words_for(CommandFate fate) {
  static constexpr Words kWords[] = {
      {"runs", ""},
      {"refused", "refused, it holds a quote"},
      {"refused_newline", "refused, it holds a newline"},
      {"refused_option", "refused, the address would be read as an option"},
      {"too_long", "not started, it is too long"},
      {"no_program", "not started, the mail server's sendmail is missing or not executable"},
  };
  return pick(kWords, fate);
}

Words words_for(CourtesyChange change) {
  static constexpr Words kWords[] = {
      {"no_reply", "no reply would leave"},
      {"marked_reply", "the reply would say that it is automatic, and have no envelope sender"},
  };
  return pick(kWords, change);
}

Words words_for(RepairChange change) {
  static constexpr Words kWords[] = {
      {"limiter", "the sender, which is longer than the limiter's column, would be found again"},
      {"quotes", "a command that holds a quote would run"},
      {"forwarding", "the shell would read nothing in the forwarding addresses"},
      {"newlines", "a command that holds a newline would not run"},
      {"options", "nothing would be mailed to an address that begins with \"-\""},
      {"store", "an attachment that is no plain file in the store would count as missing"},
      {"lines", "control characters in the rule's header texts would become blanks"},
      {"notification", "the notification's Reply-To would get its line end"},
      {"subject", "the run would not abort, and the subject would count as empty"},
  };
  return pick(kWords, change);
}
