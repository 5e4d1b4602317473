#pragma once

#include <string>
#include <type_traits>

#include "explain/explanation.h"

/// A stable code for programs, and a text for people.
struct Words {
  const char* code;
  const char* text;
};

/// The address tells one enumeration from the others.
template <class Enumeration>
inline constexpr char kKindOf = 0;

/// The words for the value `value` of the enumeration of this kind; empty texts if it has none.
Words words_for(const void* kind, int value);
template <class Enumeration>
Words words_for(Enumeration value) {
  static_assert(std::is_enum_v<Enumeration>);
  return words_for(&kKindOf<Enumeration>, static_cast<int>(value));
}

/// The words for the rule's outcome.
Words words_for(const RuleExplanation& rule);

/// A line that says which switches are on.
std::string words_for(const Switches& switches);

/// What the repair would change, for people; empty if no message shows its effect beforehand.
const char* effect_of(const Repair& repair);
