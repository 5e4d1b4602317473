#ifndef AUTORESPONDER_ENGINE_ANSWER_H
#define AUTORESPONDER_ENGINE_ANSWER_H

#include <cstdint>
#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/notification.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"
#include "autoresponder/reply/subject_text.h"

/// The message that is answered, and what all of its answers share.
struct Delivery {
  const IncomingMessage& message;
  const Switches& switches;
  std::string spool_path;  ///< of the file that holds the message
};

/// A reply that is ready to be sent.
struct ReplyFacts {
  int64_t size = 0;          ///< of the reply as built, in bytes
  int64_t limit = 0;         ///< the mail server's, in bytes; 0 or less for none
  bool is_replaced = false;  ///< whether a notice that the reply is too large is sent instead
  SubjectText subject;       ///< of the reply, or of the notice
};

/// Why a reply is not sent although nothing forbids it.
enum class Unsent {
  kUnwritable,   ///< its text, or the notice that replaces it, could not be written
  kNotWhole,     ///< its attachments could not be appended completely
  kFileReplaced  ///< the name of its file leads nowhere, or to another file
};

/// What was found out and decided for one answer. What was not reached is empty.
struct AnswerFacts {
  std::optional<LimiterFacts> limiter;
  std::optional<std::string> forwarding;  ///< the addresses, as in the command line
  std::string objection;                  ///< of courtesy, which forbids the reply
  AttachmentList attachments;
  std::optional<Notification> notification;  ///< about missing attachments
  std::optional<ReplyFacts> reply;
  std::optional<Unsent> unsent;
  std::string reply_path;  ///< of the reply's file
};

/// What an answer does besides finding out. An exception from any of these ends the answer.
class Effects {
 public:
  virtual ~Effects() = default;

  /// Asks the limiter whether the rule may send the sender one more reply today, and may count it.
  virtual LimiterFacts AskLimiter(PanelDatabase& database, const ResponderRule& rule) = 0;

  /// Creates the file for the reply.
  virtual ResponseFile CreateResponseFile() = 0;

  /// The ASCII form of the mailbox's address; throws or ends the process if there is none.
  virtual std::string AsciiForm(const std::string& address) = 0;

  /// Runs the command, or notes it; false if it failed and that matters.
  virtual bool Run(const ShellCommand& command) = 0;
};

/// Lets a rule that fires answer the message: asks the limiter, forwards, and builds and sends the
/// reply unless courtesy is on and forbids it. Fills `facts`, also as far as it comes if a failing
/// query throws `PanelFailure`.
void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const Delivery& delivery, Effects& effects, AnswerFacts& facts);

#endif
