#pragma once

#include <optional>
#include <string>
#include <vector>

#include "autoresponder/engine/answer.h"
#include "autoresponder/engine/loop_guard.h"
#include "autoresponder/engine/responder.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"

/// Whether the message gets a reply. The values are the exit statuses.
enum class Verdict { kReply = 0, kNoReply = 1, kUnknown = 2 };

/// Why the message gets a reply or none, or why that is unknown.
enum class Reason {
  kRuleReplies,
  kNoSender,
  kNoRecipient,
  kRunAborts,
  kReaderFails,  ///< the process that parses the message did not start, died or took too long
  kSenderIsRecipient,
  kMailerDaemon,
  kMailboxNotFound,
  kNoRules,
  kNoRuleReplies,
  kCourtesy,        ///< no rule replies, at least one because courtesy forbids it
  kStatementFails,  ///< the database refused a statement before any rule was reached
  kNoSuchRule,
  kMessageUnreadable,
  kDatabaseFails,
  kReplyNotBuilt,
  kLibraryGivesUp,
};

/// What a run would do for one rule.
enum class RuleOutcome {
  kReplies,
  kRepliesWithNotice,  ///< the reply is larger than the mail server takes
  kSwitchedOff,
  kNotTriggered,
  kNeverReplies,  ///< the rule allows less than one reply a day
  kLimitReached,
  kCourtesy,           ///< courtesy is on and forbids the reply
  kNotWhole,           ///< its attachments could not be appended completely
  kReadAsOption,       ///< sendmail reads the sender as an option; no reply leaves
  kReplyToUnreadable,  ///< the mail server cannot parse the rule's Reply-To; no reply leaves
  kCommandNotRun,      ///< the command that sends the reply would not run
  kRecipientNotAscii,  ///< the address has no ASCII form; the run ends with status 1
  kStatementFails,     ///< the database refuses a statement; the run ends
  kNotReached,         ///< an earlier rule ended the run
  kUnknown,            ///< the reply could not be built here
};

inline bool is_reply(RuleOutcome outcome) {
  return outcome == RuleOutcome::kReplies || outcome == RuleOutcome::kRepliesWithNotice;
}

inline bool ends_run(RuleOutcome outcome) {
  return outcome == RuleOutcome::kRecipientNotAscii || outcome == RuleOutcome::kStatementFails;
}

/// Where the recipient's address was taken from.
enum class RecipientSource { kOption, kEnvironment, kTo };

/// What a run would do with a command.
struct CommandFacts {
  Purpose purpose;
  std::string line;
  std::optional<NotRun> not_run;  ///< nothing if it runs
};

/// The mail that would be sent: the reply, or the notice in its place.
struct MailText {
  std::string headers;
  std::string whole;  ///< all of it, if that was asked for
};

/// What courtesy would change for a message that gets a reply.
enum class CourtesyChange {
  kNoReply,
  kMarkedReply,  ///< the reply would say that it is automatic, and have a null envelope sender
};

struct RuleExplanation {
  ResponderRule rule;
  RuleOutcome outcome = RuleOutcome::kNotReached;
  std::string trouble;  ///< the diagnostic, if a statement fails or the outcome is unknown
  std::optional<TriggerMatch> trigger;  ///< nothing for a rule that is off
  AnswerFacts answer;
  MailText mail;
  std::vector<CommandFacts> commands;       ///< in the order in which they would run
  bool is_sender_too_long = false;          ///< whether a too long sender makes a statement fail
  std::vector<const Repair*> with_repairs;  ///< those that are off and would change something
};

/// What was found out about one message. What the run would not reach is empty.
struct Explanation {
  Verdict verdict = Verdict::kUnknown;
  Reason reason = Reason::kDatabaseFails;
  std::string trouble;      ///< details of the reason, if it has any
  std::string diagnostics;  ///< what the run's functions wrote to standard error
  Switches switches;
  /// What courtesy would change. Nothing if it is on, no rule replies, or that is unknown.
  std::optional<CourtesyChange> with_courtesy;
  std::string objection;  ///< why courtesy forbids a reply, or would if it were on; empty if not
  std::vector<const Repair*> with_repairs;  ///< off, and would change something for all rules
  IncomingMessage message;
  /// Nothing if it would not change, or if repairs are on.
  std::optional<std::string> subject_with_repairs;
  SenderField sender_field = SenderField::kNone;
  RecipientSource recipient_source = RecipientSource::kTo;
  std::optional<LoopGuard> guard;
  MailboxRules panel;
  std::vector<RuleExplanation> rules;
};
