#include "mimelib/headers.h"

#include <algorithm>

#include "support/base/letter_case.h"

namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

// In the order of DwHeaders::FieldName.
constexpr std::string_view kNames[] = {
    "Reply-To", "From", "To", "Subject", "Date", "Content-Type", "Content-Transfer-Encoding",
};

// Cuts the first field off `rest`, with the lines that continue it (RFC 822, 3.1.1).
std::string_view take_field(std::string_view& rest) {
  size_t end = rest.find('\n');
  while (end != npos && end + 1 < rest.size() && kBlanks.find(rest[end + 1]) != npos) {
    end = rest.find('\n', end + 1);
  }
  const std::string_view field = rest.substr(0, end == npos ? npos : end + 1);
  rest.remove_prefix(field.size());
  return field;
}

std::string_view without_trailing(std::string_view text, std::string_view bytes) {
  const size_t last = text.find_last_not_of(bytes);
  return text.substr(0, last == npos ? 0 : last + 1);
}

std::string_view without_leading(std::string_view text, std::string_view bytes) {
  return text.substr(std::min(text.find_first_not_of(bytes), text.size()));
}

}  // namespace

DwHeaders::DwHeaders(const DwString& header) : DwMessageComponent(header) {
  std::string_view rest = text();
  while (!rest.empty()) {
    const std::string_view field = take_field(rest);
    const size_t colon = field.find(':');
    if (colon == npos) continue;
    const std::string_view name = without_trailing(field.substr(0, colon), kBlanks);
    const std::string_view body = without_leading(field.substr(colon + 1), kBlanks);
    Remember(name, without_trailing(body, kWhiteSpace));
  }
}

void DwHeaders::Remember(std::string_view name, std::string_view body) {
  for (size_t i = 0; i < kFieldNames; ++i) {
    if (bodies_[i].data() == nullptr && equal_ignoring_case(name, kNames[i])) bodies_[i] = body;
  }
}
