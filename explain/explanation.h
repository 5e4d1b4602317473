#ifndef EXPLAIN_EXPLANATION_H
#define EXPLAIN_EXPLANATION_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "autoresponder/engine/loop_guard.h"
#include "autoresponder/intake/extraction.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/notification.h"
#include "autoresponder/reply/shell.h"

/// The answer, as the exit status says it.
enum class Verdict { kReply = 0, kNoReply = 1, kUnknown = 2 };

/// Why the whole message gets a reply or none, or why that could not be told.
enum class Reason {
  kRuleReplies,
  kNoSender,
  kNoRecipient,
  kRunAborts,
  kSenderIsRecipient,
  kMailerDaemon,
  kMailboxNotFound,
  kNoRules,
  kNoRuleReplies,
  kStatementFails,  ///< before any rule
  kNoSuchRule,
  kMessageUnreadable,
  kDatabaseFails,
  kReplyNotBuilt,
  kLibraryGivesUp,
};

/// What becomes of one rule.
enum class RuleOutcome {
  kReplies,
  kRepliesWithNotice,  ///< the reply is larger than the mail server takes
  kSwitchedOff,
  kNotTriggered,
  kNeverReplies,  ///< it allows no reply a day
  kLimitReached,
  kQuoteInCommand,     ///< the reply would leave by a command that is refused
  kCommandTooLong,     ///< or by one that the system does not start
  kNoSendmail,         ///< or by a program that is not there
  kRecipientNotAscii,  ///< which ends the run with status 1
  kStatementFails,     ///< the database refuses one, which ends the run
  kNotReached,         ///< an earlier rule ended the run
};

inline bool is_reply(RuleOutcome outcome) {
  return outcome == RuleOutcome::kReplies || outcome == RuleOutcome::kRepliesWithNotice;
}

inline bool ends_run(RuleOutcome outcome) {
  return outcome == RuleOutcome::kRecipientNotAscii || outcome == RuleOutcome::kStatementFails;
}

/// Where the address of the delivery was taken from.
enum class RecipientSource { kOption, kEnvironment, kTo };

struct TriggerFacts {
  TriggerPlace place = TriggerPlace::kNowhere;
  bool found = false;
  size_t line = 0;  ///< of the body, from 1 on, where it was found there
};

/// What becomes of a command.
enum class CommandFate {
  kRuns,
  kRefused,    ///< a value holds a quote
  kTooLong,    ///< longer than the system lets a command be
  kNoProgram,  ///< the mail server's sendmail cannot be started
};

struct CommandFacts {
  const char* purpose;  ///< a word for programs
  std::string line;
  CommandFate fate;
};

struct ReplyFacts {
  int64_t size = 0;          ///< bytes, as built
  int64_t limit = 0;         ///< bytes; 0 or less for none
  bool is_replaced = false;  ///< by the notice that it is too large
  // Of what leaves: the reply, or the notice in its place.
  std::string subject;  ///< UTF-8
  std::string headers;
  std::string text;  ///< all of it, where that was asked for
};

struct RuleExplanation {
  ResponderRule rule;
  RuleOutcome outcome = RuleOutcome::kNotReached;
  std::string trouble;  ///< the diagnostic, where a statement fails
  std::optional<TriggerFacts> trigger;
  std::optional<LimiterFacts> limiter;
  std::optional<std::string> forwarding;  ///< the addresses, as they stand on the command line
  AttachmentList attachments;
  std::optional<Notification> notification;
  std::optional<ReplyFacts> reply;
  std::vector<CommandFacts> commands;  ///< in the order in which they would run
};

/// Everything there is to say about one message. What was not reached is empty.
struct Explanation {
  Verdict verdict = Verdict::kUnknown;
  Reason reason = Reason::kDatabaseFails;
  std::string trouble;      ///< what is in the way, where the reason has more to it
  std::string diagnostics;  ///< what the run's functions wrote to standard error
  IncomingMessage message;
  SenderField sender_field = SenderField::kNone;
  RecipientSource recipient_source = RecipientSource::kTo;
  std::optional<LoopGuard> guard;
  std::optional<FoundMailbox> mailbox;
  std::optional<Rows> rows;  ///< what the rules are views of
  std::vector<RuleExplanation> rules;
};

#endif
