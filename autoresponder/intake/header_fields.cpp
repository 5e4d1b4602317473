#include "autoresponder/intake/header_fields.h"

#include <algorithm>

namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

}  // namespace

// Takes a line, and the lines that continue it (RFC 5322, 2.2.3).
std::string_view HeaderFields::TakeLines() {
  size_t end = rest_.find('\n');
  while (end != npos && end + 1 < rest_.size() && is_blank(rest_[end + 1])) {
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
