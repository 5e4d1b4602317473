#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "autoresponder/engine/answer.h"
#include "explain/explanation.h"
#include "support/base/owned.h"

/// Thrown if the explanation cannot be completed; `what` is the diagnostic.
class CannotTell : public std::runtime_error {
 public:
  CannotTell(Reason why, const std::string& diagnostic)
      : std::runtime_error(diagnostic), reason(why) {}

  Reason reason;
};

/// Thrown if the recipient's address has no ASCII form, which would end the run.
class NotAscii : public std::exception {};

/// Effects that change nothing lasting: the limiter only reads, the reply is built in a file in
/// memory, of which nothing remains even if a signal ends the process, and the only command that
/// runs is the one that appends the attachments to it.
class RecordedEffects : public Effects {
 public:
  /// The parameters must outlive the effects.
  RecordedEffects(const IncomingMessage& message, const Switches& switches);

  LimiterFacts AskLimiter(PanelDatabase& database, const ResponderRule& rule) override;
  ResponseFile CreateResponseFile() override;
  std::string AsciiForm(const std::string& address) override;
  bool Run(const ShellCommand& command) override;

  /// The commands of the answer, in the order in which they would run.
  const std::vector<CommandFacts>& commands() const { return commands_; }

  /// The mail as it was built; `is_whole`: whether to include its whole text.
  MailText Mail(bool is_whole) const;

 private:
  std::string LineOfRun(std::string line) const;

  const IncomingMessage& message_;
  const Switches& switches_;
  std::vector<CommandFacts> commands_;
  OwnedDescriptor reply_;
  std::string reply_path_;
};
