#ifndef AUTORESPONDER_ENGINE_ANSWER_H
#define AUTORESPONDER_ENGINE_ANSWER_H

#include <string>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/notification.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"
#include "autoresponder/reply/subject_text.h"

/// A reply that is ready to leave.
struct BuiltReply {
  int64_t size;         ///< bytes, as it was built
  int64_t limit;        ///< bytes that the mail server takes; 0 or less for no limit
  bool is_replaced;     ///< by the notice that it is too large
  SubjectText subject;  ///< of what leaves
};

/// What an answer does to the world. The order in which it does that is `answer`'s; the run acts,
/// and the explanation of a run takes notes. Whatever one of these throws ends the answer.
class Effects {
 public:
  virtual ~Effects() = default;

  /// Whether the rule may answer the sender once more; counts the answer.
  virtual bool Count(const ResponderRule& rule) = 0;

  /// The file that holds the incoming message.
  virtual std::string SpoolPath() = 0;

  /// Forwards the message to `addresses` by `command`.
  virtual void Forward(const std::string& addresses, const ShellCommand& command) = 0;

  /// A file for the reply.
  virtual ResponseFile CreateResponseFile() = 0;

  /// These are the rule's attachments.
  virtual void Attachments(const AttachmentList& /*attachments*/) {}

  /// Tells the owner about missing attachments.
  virtual void Notify(const Notification& notification, const ResponderRule& rule,
                      const std::vector<std::string>& missing) = 0;

  /// The ASCII form of the mailbox's address. Without one the answer ends here.
  virtual std::string AsciiForm(const std::string& address) = 0;

  /// The disk did not take the reply's text whole; it does not leave.
  virtual void GiveUp(const ResponseFile& reply) = 0;

  /// Appends the attachments by `command`.
  virtual void Append(const ShellCommand& command, const WriterLimits& limits) = 0;

  /// The reply is ready.
  virtual void Built(const BuiltReply& /*built*/, const ResponseFile& /*reply*/) {}

  /// Sends the reply by `command`, and removes its file.
  virtual void Deliver(const ShellCommand& command, const ResponseFile& reply) = 0;
};

/// Lets a rule that fires answer the message: asks the limiter, forwards, and builds and sends the
/// reply. A failing query throws `PanelFailure`.
void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const IncomingMessage& message, Effects& effects);

#endif
