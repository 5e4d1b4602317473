#pragma once

#include "autoresponder/engine/answer.h"
#include "autoresponder/run/spool.h"

/// The effects of a run: counts replies, creates files and runs commands.
class RunEffects : public Effects {
 public:
  /// The parameters must outlive the effects.
  RunEffects(const IncomingMessage& message, const SpoolFile& spool, const Switches& switches)
      : message_(message), spool_(spool), switches_(switches) {}

  LimiterFacts AskLimiter(PanelDatabase& database, const ResponderRule& rule) override;
  ResponseFile CreateResponseFile() override;
  std::string AsciiForm(const std::string& address) override;
  bool Run(const ShellCommand& command) override;

 private:
  bool CanForward() const;

  const IncomingMessage& message_;
  const SpoolFile& spool_;
  const Switches& switches_;
};
