#ifndef EXPLAIN_RULE_EXAMINATION_H
#define EXPLAIN_RULE_EXAMINATION_H

#include <stdexcept>

#include "autoresponder/panel_database.h"
#include "explain/explanation.h"

/// What keeps the examination from an answer; `what` is the diagnostic.
class CannotTell : public std::runtime_error {
 public:
  CannotTell(Reason why, const std::string& diagnostic)
      : std::runtime_error(diagnostic), reason(why) {}

  Reason reason;
};

/// A statement that the database refuses, which would end the run; `what` is the diagnostic.
class RefusedStatement : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Fills `facts`, which holds the rule, with what the run would do for it, step by step and as far
/// as it would come; `whole_reply`: with all of the reply's text. Draws the reply's boundary as the
/// run would, so that every rule must be examined, in the run's order.
void examine_rule(PanelDatabase& database, const MailboxRef& mailbox,
                  const IncomingMessage& message, bool whole_reply, RuleExplanation& facts);

#endif
