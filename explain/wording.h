#ifndef EXPLAIN_WORDING_H
#define EXPLAIN_WORDING_H

#include "explain/explanation.h"

/// A stable code for programs, and a text for people.
struct Words {
  const char* code;
  const char* text;
};

Words words_for(Verdict verdict);
Words words_for(Reason reason);
Words words_for(RuleOutcome outcome);
Words words_for(SenderField field);
Words words_for(RecipientSource source);
Words words_for(LoopGuard guard);
Words words_for(MailboxLookup lookup);
Words words_for(TriggerPlace place);
Words words_for(LimiterStep step);
Words words_for(CommandFate fate);

#endif
