#ifndef EXPLAIN_LIMITER_FACTS_H
#define EXPLAIN_LIMITER_FACTS_H

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/rule.h"
#include "explain/explanation.h"

/// What the limiter would do about the message's sender, read without a change: rows of earlier
/// days, which it would delete first, are passed over. A failing query stops the examination.
void read_limiter(PanelDatabase& database, const ResponderRule& rule,
                  const IncomingMessage& message, LimiterFacts& facts);

#endif
