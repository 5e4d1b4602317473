#ifndef EXPLAIN_RECORDED_EFFECTS_H
#define EXPLAIN_RECORDED_EFFECTS_H

#include <stdexcept>

#include "autoresponder/engine/answer.h"
#include "explain/explanation.h"
#include "explain/reply_in_memory.h"

/// Thrown if the explanation cannot be completed; `what` is the diagnostic.
class CannotTell : public std::runtime_error {
 public:
  CannotTell(Reason why, const std::string& diagnostic)
      : std::runtime_error(diagnostic), reason(why) {}

  Reason reason;
};

/// Thrown if the recipient's address has no ASCII form, which would end the run.
class NotAscii : public std::exception {};

/// Records what a run would do to answer one message by one rule, and changes nothing: the limiter
/// only reads, the reply is built in memory, and no command runs but the one that appends the
/// attachments to it.
class RecordedEffects : public Effects {
 public:
  /// `explanation` already holds the message and the switches. `facts` is filled in; `whole_reply`:
  /// whether also with the whole text of the reply. All references have to outlive this object.
  RecordedEffects(PanelDatabase& database, const Explanation& explanation, bool whole_reply,
                  RuleExplanation& facts)
      : database_(database),
        message_(explanation.message),
        switches_(explanation.switches),
        whole_reply_(whole_reply),
        facts_(facts) {}

  bool Count(const ResponderRule& rule) override;
  std::string SpoolPath() override;
  void Forward(const std::string& addresses, const ShellCommand& command) override;
  void Withhold(const std::string& objection) override;
  ResponseFile CreateResponseFile() override;
  void Attachments(const AttachmentList& attachments) override;
  void Notify(const Notification& notification, const ResponderRule& rule,
              const std::vector<std::string>& missing) override;
  std::string AsciiForm(const std::string& address) override;
  bool Append(const ShellCommand& command, const WriterLimits& limits) override;
  void LeaveUnsent(const ResponseFile& reply, Unsent why) override;
  void Built(const BuiltReply& built, const ResponseFile& reply) override;
  void Deliver(const ShellCommand& command, const ResponseFile& reply) override;

 private:
  std::string LineOfRun(std::string line) const;
  void Add(const char* purpose, const ShellCommand& command);

  PanelDatabase& database_;
  const IncomingMessage& message_;
  const Switches& switches_;
  bool whole_reply_;
  RuleExplanation& facts_;
  ReplyInMemory memory_;
};

#endif
