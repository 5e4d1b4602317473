#ifndef AUTORESPONDER_RUN_RUN_EFFECTS_H
#define AUTORESPONDER_RUN_RUN_EFFECTS_H

#include "autoresponder/engine/answer.h"
#include "autoresponder/run/spool.h"

/// What a run's answers do: everything.
class RunEffects : public Effects {
 public:
  /// All of them outlive the effects.
  RunEffects(PanelDatabase& database, const IncomingMessage& message, const SpoolFile& spool,
             const Switches& switches)
      : database_(database), message_(message), spool_(spool), switches_(switches) {}

  bool Count(const ResponderRule& rule) override;
  std::string SpoolPath() override { return spool_.path(); }
  void Forward(const std::string& addresses, const ShellCommand& command) override;
  void Withhold(const std::string& objection) override;
  ResponseFile CreateResponseFile() override;
  void Notify(const Notification& notification, const ResponderRule& rule,
              const std::vector<std::string>& missing) override;
  std::string AsciiForm(const std::string& address) override;
  bool Append(const ShellCommand& command, const WriterLimits& limits) override;
  void LeaveUnsent(const ResponseFile& reply, Unsent why) override;
  void Deliver(const ShellCommand& command, const ResponseFile& reply) override;

 private:
  PanelDatabase& database_;
  const IncomingMessage& message_;
  const SpoolFile& spool_;
  const Switches& switches_;
};

#endif
