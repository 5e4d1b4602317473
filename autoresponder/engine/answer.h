#pragma once

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
#include "autoresponder/reply/reply_text.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"

/// The message that is answered, and what all of its answers share.
struct Delivery {
  const IncomingMessage& message;
  const Switches& switches;
  std::string spool_path;  ///< the path of the spool file
};

/// A reply that is ready to be sent.
struct ReplyFacts {
  int64_t size = 0;          ///< of the reply as built, in bytes
  int64_t limit = 0;         ///< the mail server's, in bytes; 0 or less for none
  bool is_replaced = false;  ///< whether a notice that the reply is too large is sent instead
  SubjectText subject;       ///< of the reply, or of the notice
};

/// Why a reply that is allowed is not sent.
enum class Unsent {
  kUnwritable,   ///< its text, or the notice that replaces it, could not be written
  kNotWhole,     ///< its attachments could not be appended completely
  kFileReplaced  ///< its file was removed, or replaced by another one
};

/// What was found out and decided for one answer. Members for steps not reached are empty.
struct AnswerFacts {
  std::optional<LimiterFacts> limiter;
  std::optional<std::string> forwarding;  ///< the addresses, as in the command line
  std::string left_out_reply_to;          ///< the rule's, if the mail server cannot parse it
  std::string objection;                  ///< why courtesy forbids the reply; empty if it does not
  AttachmentList attachments;
  std::optional<Notification> notification;  ///< about missing attachments
  std::optional<ReplyFacts> reply;
  std::optional<Unsent> unsent;
  std::string reply_path;  ///< the path of the response file
};

/// The side effects of an answer: a run has them, an explanation only records them. An exception
/// from any of these functions ends the answer.
class Effects {
 public:
  virtual ~Effects() = default;

  /// Asks the limiter whether the rule may reply to the sender once more today; a run counts that.
  virtual LimiterFacts AskLimiter(PanelDatabase& database, const ResponderRule& rule) = 0;

  /// Creates the response file.
  virtual ResponseFile CreateResponseFile() = 0;

  /// The ASCII form (RFC 3490) of the mailbox's address, which is in UTF-8. Throws or ends the
  /// process if there is none.
  virtual std::string AsciiForm(const std::string& address) = 0;

  /// Runs or records the command. The result counts only for kAttach: whether it succeeded.
  virtual bool Run(const ShellCommand& command) = 0;
};

/// Lets a rule that fires answer the message: asks the limiter, forwards, and builds and sends the
/// reply unless courtesy is on and forbids it. Fills `facts` step by step, so that they are usable
/// even if a failing query throws `PanelFailure`.
void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const Delivery& delivery, Effects& effects, AnswerFacts& facts);
