#pragma once

#include <string>

#include "explain/explanation.h"

/// A stable code for programs, and a text for people.
struct Words {
  const char* code;
  const char* text;
};

Words words_for(Verdict verdict);
Words words_for(Reason reason);
/// The words for the rule's outcome.
Words words_for(const RuleExplanation& rule);
Words words_for(SenderField field);
Words words_for(RecipientSource source);
Words words_for(LoopGuard guard);
Words words_for(MailboxLookup lookup);
Words words_for(TriggerPlace place);
Words words_for(LimiterStep step);
Words words_for(Purpose purpose);
Words words_for(NotRun reason);
Words words_for(CourtesyChange change);

/// A line that says which switches are on.
std::string words_for(const Switches& switches);

/// What the repair would change, for people; empty if no message shows its effect beforehand.
const char* effect_of(const Repair& repair);
