#include "autoresponder/intake/message_ids.h"

#include <algorithm>

#include "autoresponder/intake/field_reader.h"

namespace {

bool is_atom_byte(char c) {
  const bool is_alphanumeric =
      (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  return is_alphanumeric || std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != std::string::npos;
}

// RFC 5322, 3.2.3.
bool is_dot_atom_text(std::string_view text) {
  char before = '.';
  for (const char c : text) {
    if (!is_atom_byte(c) && (c != '.' || before == '.')) return false;
    before = c;
  }
  return before != '.';
}

// RFC 5322, 3.6.4.
bool is_no_fold_literal(std::string_view text) {
  if (text.size() < 2 || text.front() != '[' || text.back() != ']') return false;
  const std::string_view inside = text.substr(1, text.size() - 2);
  return std::all_of(inside.begin(), inside.end(), [](char c) {
    return c > ' ' && c < '\x7f' && std::string_view("[]\\<>").find(c) == std::string::npos;
  });
}

// `id`: without its brackets.
bool is_well_formed(std::string_view id) {
  const size_t at = id.find('@');
  if (id.size() + 2 > kLongestMessageId || at == std::string_view::npos) return false;
  const std::string_view right = id.substr(at + 1);
  return is_dot_atom_text(id.substr(0, at)) &&
         (is_dot_atom_text(right) || is_no_fold_literal(right));
}

void add(std::string_view id, size_t most, std::vector<std::string>& ids) {
  if (ids.size() == most) ids.erase(ids.begin() + 1);
  ids.push_back("<" + std::string(id) + ">");
}

}  // namespace

std::vector<std::string> message_ids(std::string_view body, size_t most) {
  std::vector<std::string> ids;
  FieldReader reader(body);
  for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
    if (reader.Skip('<')) {
      const std::string_view id = reader.Word("<>");
      if (reader.Skip('>') && is_well_formed(id)) add(id, most, ids);
    } else if (reader.Skip('"')) {
      reader.Enclosed('"', 0);
    } else if (reader.Word("<\"").empty()) {
      reader.Skip(reader.Peek());
    }
  }
  return ids;
}
