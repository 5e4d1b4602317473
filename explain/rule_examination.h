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

/// What the run would do for `rule`, step by step and as far as it would come. Draws the reply's
/// boundary as the run would, so that every rule must be examined, in the run's order.
RuleExplanation examine_rule(PanelDatabase& database, const ResponderRule& rule,
                             const MailboxRef& mailbox, const IncomingMessage& message);

#endif
