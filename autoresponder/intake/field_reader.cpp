#include "autoresponder/intake/field_reader.h"

#include <algorithm>

namespace {

bool is_blank(char c) {
  return static_cast<unsigned char>(c) <= ' ';
}

}  // namespace

void FieldReader::SkipBlanks() {
  while (!rest_.empty() && (is_blank(rest_[0]) || rest_[0] == '(')) {
    if (rest_[0] == '(') {
      SkipComment();
    } else {
      rest_.remove_prefix(1);
    }
  }
}

// Comments nest (RFC 5322, 3.2.2).
void FieldReader::SkipComment() {
  size_t depth = 0;
  do {
    const char c = rest_[0];
    const size_t length = c == '\\' ? 2 : 1;
    if (c == '(') ++depth;
    if (c == ')') --depth;
    rest_.remove_prefix(std::min(length, rest_.size()));
  } while (depth > 0 && !rest_.empty());
}

bool FieldReader::Skip(char c) {
  const bool is_next = !rest_.empty() && rest_[0] == c;
  if (is_next) rest_.remove_prefix(1);
  return is_next;
}

std::string_view FieldReader::Word(std::string_view ends) {
  const auto* const end = std::find_if(rest_.begin(), rest_.end(), [ends](char c) {
    return is_blank(c) || c == '(' || ends.find(c) != std::string_view::npos;
  });
  const std::string_view word = rest_.substr(0, static_cast<size_t>(end - rest_.begin()));
  rest_.remove_prefix(word.size());
  return word;
}

std::string FieldReader::Enclosed(char close, size_t max_length) {
  std::string text;
  while (!rest_.empty() && !Skip(close)) {
    if (rest_[0] == '\\' && rest_.size() > 1) rest_.remove_prefix(1);
    const bool is_line_end = rest_[0] == '\r' || rest_[0] == '\n';
    if (!is_line_end && text.size() < max_length) text += rest_[0];
    rest_.remove_prefix(1);
  }
  return text;
}
