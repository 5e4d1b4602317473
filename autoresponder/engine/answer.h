#ifndef AUTORESPONDER_ENGINE_ANSWER_H
#define AUTORESPONDER_ENGINE_ANSWER_H

#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/notification.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"
#include "autoresponder/reply/subject_text.h"

/// A reply that is ready to be sent.
struct BuiltReply {
  int64_t size;         ///< of the reply as built, in bytes
  int64_t limit;        ///< the mail server's, in bytes; 0 or less for none
  bool is_replaced;     ///< whether a notice that the reply is too large is sent instead
  SubjectText subject;  ///< of the reply, or of the notice
};

/// Why a reply is not sent although nothing forbids it.
enum class Unsent {
  kUnwritable,   ///< its text, or with repairs the notice that replaces it, could not be written
  kNotWhole,     ///< with repairs: its attachments could not be appended completely
  kFileReplaced  ///< the name of its file leads nowhere, or to another file
};

/// The effects of an answer, in the order in which `answer` calls them: the run carries them out,
/// the explanation program records them. An exception from any of them ends the answer.
class Effects {
 public:
  virtual ~Effects() = default;

  /// Whether the rule may send the sender one more reply today; if so, counts it.
  virtual bool Count(const ResponderRule& rule) = 0;

  /// The path of the file that holds the incoming message.
  virtual std::string SpoolPath() = 0;

  /// Forwards the message to `addresses` by `command`.
  virtual void Forward(const std::string& addresses, const ShellCommand& command) = 0;

  /// Called instead of the steps below if courtesy forbids a reply. `objection`: the reason, a
  /// short phrase.
  virtual void Withhold(const std::string& objection) = 0;

  /// Creates the file for the reply.
  virtual ResponseFile CreateResponseFile() = 0;

  /// Called with the rule's attachments once they were looked for.
  virtual void Attachments(const AttachmentList& /*attachments*/) {}

  /// Tells the owner about missing attachments.
  virtual void Notify(const Notification& notification, const ResponderRule& rule,
                      const std::vector<std::string>& missing) = 0;

  /// The ASCII form of the mailbox's address; throws or ends the process if there is none.
  virtual std::string AsciiForm(const std::string& address) = 0;

  /// Appends the attachments by `command`; whether it succeeded.
  virtual bool Append(const ShellCommand& command, const WriterLimits& limits) = 0;

  /// Called instead of the steps below if the reply cannot be sent.
  virtual void LeaveUnsent(const ResponseFile& reply, Unsent why) = 0;

  /// Called when the reply is ready, before `Deliver`.
  virtual void Built(const BuiltReply& /*built*/, const ResponseFile& /*reply*/) {}

  /// Sends the reply by `command`, and removes its file.
  virtual void Deliver(const ShellCommand& command, const ResponseFile& reply) = 0;
};

/// Lets a rule that fires answer the message: asks the limiter, forwards, and builds and sends the
/// reply unless courtesy is on and forbids it. A failing query throws `PanelFailure`.
void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const IncomingMessage& message, const Switches& switches, Effects& effects);

#endif
