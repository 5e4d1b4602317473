#include "autoresponder/intake/field_reader.h"

#include <algorithm>

namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view kFold = " \t";  // begins a line that continues another
constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

bool is_blank(char c) {
  return static_cast<unsigned char>(c) <= ' ';
}

}  // namespace

// Takes a line, and the lines that continue it (RFC 5322, 2.2.3).
std::string_view HeaderFields::TakeLines() {
  size_t end = rest_.find('\n');
  while (end != npos && end + 1 < rest_.size() && kFold.find(rest_[end + 1]) != npos) {
    end = rest_.find('\n', end + 1);
  }
  const std::string_view lines = rest_.substr(0, end == npos ? npos : end + 1);
  rest_.remove_prefix(lines.size());
  return lines;
}

bool HeaderFields::Next(HeaderField& field) {
  while (!rest_.empty()) {
    const std::string_view lines = TakeLines();
    const size_t colon = lines.find(':');
    if (colon == npos) continue;
    field = {trimmed(lines.substr(0, colon)), trimmed(lines.substr(colon + 1))};
    return true;
  }
  return false;
}

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
