#ifndef EXPLAIN_RECORDED_EFFECTS_H
#define EXPLAIN_RECORDED_EFFECTS_H

#include <stdexcept>

#include "autoresponder/engine/answer.h"
#include "explain/explanation.h"
#include "explain/reply_in_memory.h"

/// What keeps the examination from an answer; `what` is the diagnostic.
class CannotTell : public std::runtime_error {
 public:
  CannotTell(Reason why, const std::string& diagnostic)
      : std::runtime_error(diagnostic), reason(why) {}

  Reason reason;
};

/// The recipient has no ASCII form, which ends the run.
class NotAscii : public std::exception {};

/// What a run's answer to one message by one rule would do, written down. Nothing is changed: the
/// limiter only looks, the reply is built in memory, and the one command that runs is that which
/// appends attachments to it.
class RecordedEffects : public Effects {
 public:
  /// All of them outlive the effects; `facts` gets what there is to tell. `whole_reply`: with all
  /// of the reply's text.
  RecordedEffects(PanelDatabase& database, const IncomingMessage& message, bool whole_reply,
                  RuleExplanation& facts)
      : database_(database), message_(message), whole_reply_(whole_reply), facts_(facts) {}

  bool Count(const ResponderRule& rule) override;
  std::string SpoolPath() override;
  void Forward(const std::string& addresses, const ShellCommand& command) override;
  ResponseFile CreateResponseFile() override;
  void Attachments(const AttachmentList& attachments) override;
  void Notify(const Notification& notification, const ResponderRule& rule,
              const std::vector<std::string>& missing) override;
  std::string AsciiForm(const std::string& address) override;
  [[noreturn]] void GiveUp(const ResponseFile& reply) override;
  void Append(const ShellCommand& command, const WriterLimits& limits) override;
  void Built(const BuiltReply& built, const ResponseFile& reply) override;
  void Deliver(const ShellCommand& command, const ResponseFile& reply) override;

 private:
  std::string LineOfRun(std::string line) const;
  void Add(const char* purpose, const ShellCommand& command);

  PanelDatabase& database_;
  const IncomingMessage& message_;
  bool whole_reply_;
  RuleExplanation& facts_;
  ReplyInMemory memory_;
};

#endif
