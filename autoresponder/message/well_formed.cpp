#include "autoresponder/message/well_formed.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr auto npos = std::string_view::npos;

// A byte of a word, as the message library splits words: no control character but DLE and DEL, no
// blank, and none of the specials.
bool is_word_byte(char c) {
  constexpr char kDle = '\x10';
  const bool separates = static_cast<unsigned char>(c) <= ' ' && c != kDle;
  return !separates && std::string_view("()<>@,;:\\\".[]").find(c) == npos;
}

// The size of the quoted string or literal at the start of `text`, with its `close`; npos if it is
// not closed.
size_t end_of_enclosed(std::string_view text, char close) {
  for (size_t i = 1; i < text.size(); ++i) {
    if (text[i] == close) return i + 1;
    if (text[i] == '\\') ++i;
  }
  return npos;
}

// How many bytes at the start of `text` are words, dots, and texts enclosed by `open` and `close`;
// npos if the last of these is not closed.
size_t end_of_words(std::string_view text, char open, char close) {
  size_t end = 0;
  while (end < text.size()) {
    if (text[end] == open) {
      const size_t length = end_of_enclosed(text.substr(end), close);
      if (length == npos) return npos;
      end += length;
    } else if (is_word_byte(text[end]) || text[end] == '.') {
      ++end;
    } else {
      break;
    }
  }
  return end;
}

bool has_line_end(std::string_view text) {
  return text.find_first_of("\r\n") != npos;
}

// Whether each line feed is part of a fold, which a literal may contain.
bool is_folded(std::string_view domain) {
  for (size_t at = domain.find('\n'); at != npos; at = domain.find('\n', at + 1)) {
    const char next = at + 1 < domain.size() ? domain[at + 1] : '\0';
    if (next != ' ' && next != '\t') return false;
  }
  return true;
}

bool has_nul(std::string_view text) {
  return text.find('\0') != npos;
}

bool is_atom_byte(char c) {
  const bool is_alphanumeric =
      (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  return is_alphanumeric || std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != npos;
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
    return c > ' ' && c < '\x7f' && std::string_view("[]\\<>").find(c) == npos;
  });
}

bool is_list_field(std::string_view name) {
  return std::find(std::begin(kListFields), std::end(kListFields), name) != std::end(kListFields);
}

size_t total_size(const std::vector<std::string>& texts) {
  size_t size = 0;
  for (const std::string& text : texts) size += text.size();
  return size;
}

bool is_well_formed(const CourtesyFacts& facts, size_t message_size) {
  return (facts.list_field.empty() || is_list_field(facts.list_field)) &&
         (facts.return_path.empty() || is_listed_address(facts.return_path)) &&
         facts.addressees.size() <= kMaxAddressees &&
         total_size(facts.addressees) <= message_size &&
         std::all_of(facts.addressees.begin(), facts.addressees.end(), is_listed_address) &&
         (facts.message_id.empty() || is_message_id(facts.message_id)) &&
         facts.references.size() <= kMaxReferences &&
         total_size(facts.references) <= message_size &&
         std::all_of(facts.references.begin(), facts.references.end(), is_message_id);
}

}  // namespace

bool is_mailbox_address(std::string_view address) {
  if (has_nul(address)) return false;
  const size_t at = end_of_words(address, '"', '"');
  if (at == npos) return !has_line_end(address);  // a NUL cut it off within quotes
  const std::string_view local_part = address.substr(0, at);
  if (local_part.empty() || at == address.size() || address[at] != '@') return false;
  const std::string_view domain = address.substr(at + 1);
  const size_t end = end_of_words(domain, '[', ']');
  return !has_line_end(local_part) && is_folded(domain) && (end == npos || end == domain.size());
}

bool is_listed_address(std::string_view address) {
  const size_t at = address.rfind('@');
  return address.size() <= kMaxListedAddress && at != npos && at > 0 && !has_line_end(address);
}

bool is_message_id(std::string_view id) {
  if (id.size() < 2 || id.size() > kMaxMessageId || id.front() != '<' || id.back() != '>') {
    return false;
  }
  const std::string_view inside = id.substr(1, id.size() - 2);
  const size_t at = inside.find('@');
  if (at == npos) return false;
  const std::string_view right = inside.substr(at + 1);
  return is_dot_atom_text(inside.substr(0, at)) &&
         (is_dot_atom_text(right) || is_no_fold_literal(right));
}

bool is_well_formed(const IncomingMessage& record, size_t message_size) {
  return record.sender.size() <= message_size && is_mailbox_address(record.sender) &&
         record.subject.size() <= kMaxGrowth * message_size && record.date.size() <= message_size &&
         !has_nul(record.date) &&
         record.charset.size() <= std::max(message_size, kDefaultCharset.size()) &&
         !has_nul(record.charset) && is_well_formed(record.courtesy, message_size);
}
