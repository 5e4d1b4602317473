#include "support/templates.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

constexpr size_t kMaxNameLength = 32;

// The output buffer of one substitution, and its counts.
class Filler {
 public:
  Filler(char* output, int capacity, SubstResult* result)
      : output_(output), space_(static_cast<size_t>(capacity)), result_(result) {}

  // Writes literal text as far as it fits; false if it had to be cut.
  bool Literal(const char* text, size_t length) {
    const size_t taken = std::min(length, space_);
    Write(text, taken, taken);
    return taken == length;
  }

  // Writes the value of a placeholder of `consumed` bytes; false if the substitution ends here.
  bool Value(const char* value, size_t consumed) {
    const size_t length = strlen(value);
    const bool fits = length <= space_;
    if (!fits && (result_->options & kStopBeforeValue) != 0) {
      result_->status |= kValueDidNotFit;
    } else {
      Write(value, std::min(length, space_), consumed);
    }
    return fits;
  }

  // Kept: the template's last stretch needs room for its NUL, all others do not.
  void LastLiteral(const char* text, size_t length) {
    if (Literal(text, length) && space_ > 0) output_[result_->written] = '\0';
  }

 private:
  void Write(const char* text, size_t length, size_t consumed) {
    memcpy(output_ + result_->written, text, length);
    space_ -= length;
    result_->written += static_cast<int>(length);
    result_->consumed += static_cast<int>(consumed);
  }

  char* output_;
  size_t space_;  // bytes that may still be written
  SubstResult* result_;
};

// What begins at an opening delimiter: a placeholder and its name, or `length` bytes of literal.
struct Candidate {
  bool is_placeholder;
  size_t length;  // with the opening delimiter, and the closing one if there is one
  char name[kMaxNameLength + 1];
};

Candidate candidate_at(const char* text, char close) {
  Candidate found{};
  size_t i = 1;
  while (i <= kMaxNameLength + 1 && text[i] != '\0' && text[i] != close) ++i;
  const bool closed = i <= kMaxNameLength + 1 && text[i] == close && text[i] != '\0';
  found.length = closed ? i + 1 : i;
  found.is_placeholder = closed && i > 1;
  if (found.is_placeholder) memcpy(found.name, text + 1, i - 1);
  return found;
}

void substitute(char open, char close, const NamedValue* table, int count, const char* text,
                Filler& out, SubstResult* result) {
  const char* literal = text;
  const char* at = text;
  while (*at != '\0') {
    if (*at != open) {
      ++at;
      continue;
    }
    const Candidate found = candidate_at(at, close);
    const int index = found.is_placeholder ? find_pair(found.name, table, count) : -1;
    const bool keep = index < 0 && (result->options & kKeepUnknown) != 0;
    if (!found.is_placeholder || keep) {
      if (found.is_placeholder) result->status |= kUnknownKept;
      at += found.length;
      continue;
    }
    if (!out.Literal(literal, static_cast<size_t>(at - literal))) return;
    const char* const value = index >= 0 ? table[index].value : nullptr;
    if (!out.Value(value != nullptr ? value : "", found.length)) return;
    at += found.length;
    literal = at;
  }
  out.LastLiteral(literal, static_cast<size_t>(at - literal));
}

}  // namespace

void sort_pairs(NamedValue* table, int count) {
  if (count < 2) return;
  std::sort(table, table + count, [](const NamedValue& one, const NamedValue& other) {
    return strcmp(one.name, other.name) < 0;
  });
}

int find_pair(const char* name, const NamedValue* table, int count) {
  if (name == nullptr || table == nullptr) return -1;
  int low = 0;
  int high = count - 1;
  while (low <= high) {
    const int middle = low + (high - low) / 2;
    const int order = strcmp(name, table[middle].name);
    if (order == 0) return middle;
    if (order < 0) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
  }
  return -1;
}

char* template_subst(char open, char close, const NamedValue* table, int count, const char* text,
                     char* output, int capacity, SubstResult* result) {
  if (output != nullptr) output[0] = '\0';
  result->consumed = 0;
  result->written = 0;
  result->status = 0;
  const bool nothing_to_do =
      text == nullptr || *text == '\0' || capacity <= 0 || output == nullptr || count == 0;
  if (nothing_to_do) return output;
  Filler out(output, capacity, result);
  substitute(open, close, table, count, text, out, result);
  return output;
}
