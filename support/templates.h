#pragma once

/// A placeholder's name and the text that replaces it; both NUL-terminated and not owned. A null
/// value is an empty text.
struct NamedValue {
  const char* name;
  const char* value;
};

/// Options of a substitution.
enum : int {
  kStopBeforeValue = 1,  ///< stop before a value that does not fit instead of cutting it
  kKeepUnknown = 2,      ///< leave placeholders whose name is not in the table unchanged
};

/// States in which a substitution can end.
enum : int {
  kValueDidNotFit = 1,  ///< stopped before a value (only with kStopBeforeValue)
  kUnknownKept = 2,     ///< at least one unknown placeholder was left (only with kKeepUnknown)
};

/// What a substitution did. The caller sets `options` before the call, the call sets the others.
struct SubstResult {
  int consumed;  ///< bytes of the template that are accounted for
  int written;   ///< bytes written to the output
  int options;   ///< sum of kStopBeforeValue and kKeepUnknown
  int status;    ///< sum of kValueDidNotFit and kUnknownKept
};

/// Sorts `count` pairs by name, in `strcmp` order and in place; nothing for a count of 0 or less.
void sort_pairs(NamedValue* table, int count);

/// The index of the pair called `name` in a table sorted by name, or -1; -1 also for a null name, a
/// null table and a count of 0 or less.
int find_pair(const char* name, const NamedValue* table, int count);

/// Fills the template `text` (NUL-terminated bytes, or null) into `output`.
///
/// A placeholder is `open`, a name of 1 to 32 bytes, `close`. `table` is sorted by name and has
/// `count` pairs. At most `capacity` bytes are written, and `output` must have one more: a text
/// that is cut, stopped or fills the capacity gets no NUL, and the caller ends it at
/// `result->written`.
///
/// Returns `output`. With a null or empty template, a capacity of 0 or less, a null output or a
/// count of 0 the output is empty and all counts are 0. A null table or a negative count knows no
/// name.
char* template_subst(char open, char close, const NamedValue* table, int count, const char* text,
                     char* output, int capacity, SubstResult* result);
