#ifndef EXPLAIN_EXPLANATION_H
#define EXPLAIN_EXPLANATION_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "autoresponder/engine/loop_guard.h"
#include "autoresponder/message/extraction_result.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/notification.h"
#include "autoresponder/reply/shell.h"

/// Whether the message gets a reply. The values are the exit statuses.
enum class Verdict { kReply = 0, kNoReply = 1, kUnknown = 2 };

/// Why the message gets a reply or none, or why that is unknown.
enum class Reason {
  kRuleReplies,
  kNoSender,
  kNoRecipient,
  kRunAborts,
  kReaderFails,  ///< the process that takes the message apart died, or took too long
  kSenderIsRecipient,
  kMailerDaemon,
  kMailboxNotFound,
  kNoRules,
  kNoRuleReplies,
  kCourtesy,        ///< no rule replies, and courtesy forbids the reply of one at least
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
  kQuoteInCommand,     ///< the command that sends the reply is refused: a value holds a quote
  kNewlineInCommand,   ///< refused with repairs: a value holds a newline
  kSenderIsOption,     ///< refused with repairs: sendmail would read the sender as an option
  kNotWhole,           ///< not sent with repairs: the attachments could not be appended completely
  kCommandTooLong,     ///< the system does not start the command that sends the reply
  kNoSendmail,         ///< the mail server's sendmail is missing or not executable
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
enum class CommandFate {
  kRuns,
  kRefused,         ///< not run: a value holds a single quote
  kRefusedNewline,  ///< not run with repairs: a value holds a newline
  kRefusedOption,   ///< not run with repairs: sendmail would read an address as an option
  kTooLong,         ///< not run: longer than the system's limit on an argument
  kNoProgram,       ///< not run: the mail server's sendmail is missing or not executable
};

struct CommandFacts {
  const char* purpose;  ///< what the command is for, as a stable code
  std::string line;
  CommandFate fate;
};

struct ReplyFacts {
  int64_t size = 0;          ///< of the reply as built, in bytes
  int64_t limit = 0;         ///< the mail server's, in bytes; 0 or less for none
  bool is_replaced = false;  ///< whether a notice that the reply is too large is sent instead
  // Of the mail that is sent: the reply, or the notice in its place.
  std::string subject;  ///< UTF-8
  std::string headers;
  std::string text;  ///< the whole mail, if that was asked for
};

/// What courtesy would change for a message that gets a reply.
enum class CourtesyChange {
  kNoReply,
  kMarkedReply,  ///< the reply would say that it is automatic, and have a null envelope sender
};

/// What repairs would change for a message.
enum class RepairChange {
  kLimiter,       ///< a sender that is longer than the limiter's column is found again
  kQuotes,        ///< a command with a quote in a value runs
  kForwarding,    ///< the shell reads no syntax in the forwarding addresses
  kNewlines,      ///< a command with a newline in a value does not run
  kOptions,       ///< nothing is mailed to an address that sendmail reads as an option
  kStore,         ///< an attachment counts as missing
  kLines,         ///< control characters in a rule's texts become blanks
  kNotification,  ///< the notification's Reply-To gets its line end
  kSubject,       ///< the end of the subject does not abort the run
};

struct RuleExplanation {
  ResponderRule rule;
  RuleOutcome outcome = RuleOutcome::kNotReached;
  std::string trouble;    ///< the diagnostic, if a statement fails or the outcome is unknown
  std::string objection;  ///< of courtesy, which forbids the reply; otherwise empty
  std::optional<TriggerMatch> trigger;  ///< of a rule that is on
  std::optional<LimiterFacts> limiter;
  std::optional<std::string> forwarding;  ///< the addresses, as in the command line
  AttachmentList attachments;             ///< without open files
  bool is_left_unsent = false;  ///< whether the attachments could not be appended completely
  std::optional<Notification> notification;
  std::optional<ReplyFacts> reply;
  std::vector<CommandFacts> commands;      ///< in the order in which they would run
  bool is_sender_too_long = false;         ///< whether that is why a statement fails
  std::vector<RepairChange> with_repairs;  ///< what they would change, if they are off
};

/// Everything that was found out about one message. What was not reached is empty.
struct Explanation {
  Verdict verdict = Verdict::kUnknown;
  Reason reason = Reason::kDatabaseFails;
  std::string trouble;      ///< details of the reason, if it has any
  std::string diagnostics;  ///< what the run's functions wrote to standard error
  Switches switches;
  /// What courtesy would change. Nothing if it is on, no rule replies, or that is unknown.
  std::optional<CourtesyChange> with_courtesy;
  std::string objection;  ///< why courtesy forbids a reply, or would if it were on; or empty
  std::vector<RepairChange> with_repairs;  ///< what they would change for all rules, if off
  IncomingMessage message;
  SenderField sender_field = SenderField::kNone;
  RecipientSource recipient_source = RecipientSource::kTo;
  std::optional<LoopGuard> guard;
  std::optional<FoundMailbox> mailbox;
  std::optional<Rows> rows;  ///< own the texts that the rules point to
  std::vector<RuleExplanation> rules;
};

#endif
