#include "autoresponder/intake/listed_addresses.h"

#include <utility>

#include "autoresponder/intake/field_reader.h"
#include "autoresponder/message/courtesy_facts.h"

namespace {

// Finds the address in one entry of a list from its tokens.
class Entry {
 public:
  // A word right after another one: the words before it were a name; or they already were an
  // address, and this word is no part of it.
  void AddWord(std::string_view word) {
    if (is_complete_) return;
    if (follows_word_ && HasLocalPart()) {
      is_complete_ = !is_in_brackets_;
      return;
    }
    if (follows_word_) Restart();
    Add(word);
    follows_word_ = true;
  }

  // A dot or "@".
  void AddSpecial(std::string_view special) {
    if (is_complete_) return;
    Add(special);
    follows_word_ = false;
  }

  // An address in angle brackets replaces whatever precedes it.
  void Open() {
    if (had_brackets_) return;
    had_brackets_ = is_in_brackets_ = true;
    Restart();
  }

  void Close() {
    is_complete_ = is_complete_ || is_in_brackets_;
    is_in_brackets_ = false;
  }

  // What precedes a colon is a route or the name of a group.
  void Colon() {
    if (!is_complete_ || !had_brackets_) Restart();
  }

  // Whether a comma belongs to a route (RFC 5322, 4.4).
  bool IsInRoute() const { return is_in_brackets_ && !text_.empty() && text_[0] == '@'; }

  // The address, copied so that no spare capacity is kept; empty if there is none.
  std::string Address() const {
    const bool is_usable = HasLocalPart() && text_.size() <= kMaxListedAddress;
    return is_usable ? text_ : std::string();
  }

 private:
  bool HasLocalPart() const {
    const size_t at = text_.rfind('@');
    return at != std::string::npos && at > 0;
  }

  void Restart() {
    text_.clear();
    follows_word_ = false;
    is_complete_ = false;
  }

  // Keeps one byte more than the maximum, so that `Address` can tell that it was exceeded.
  void Add(std::string_view text) { text_ += text.substr(0, kMaxListedAddress + 1 - text_.size()); }

  std::string text_;
  bool follows_word_ = false;
  bool is_in_brackets_ = false;
  bool had_brackets_ = false;
  bool is_complete_ = false;
};

// Reads one token of the entry; false at the end of the entry.
bool read_token(FieldReader& reader, Entry& entry) {
  constexpr size_t kMaxLength = kMaxListedAddress + 1;
  const char c = reader.Peek();
  if (c == '<') entry.Open();
  if (c == '>') entry.Close();
  if (c == ':') entry.Colon();
  if (c == '@' || c == '.') entry.AddSpecial(std::string_view(&c, 1));
  const std::string_view word = reader.Word(",;:<>@.\"[");
  if (!word.empty()) {
    entry.AddWord(word);
    return true;
  }
  reader.Skip(c);
  if (c == '"') entry.AddWord(reader.Enclosed('"', kMaxLength));
  if (c == '[') entry.AddWord("[" + reader.Enclosed(']', kMaxLength) + "]");
  return c != ';' && (c != ',' || entry.IsInRoute());
}

}  // namespace

void add_listed_addresses(std::string_view list, size_t max_count,
                          std::vector<std::string>& addresses) {
  FieldReader reader(list);
  while (!reader.IsAtEnd() && addresses.size() < max_count) {
    Entry entry;
    bool goes_on = true;
    for (reader.SkipBlanks(); goes_on && !reader.IsAtEnd(); reader.SkipBlanks()) {
      goes_on = read_token(reader, entry);
    }
    std::string address = entry.Address();
    if (!address.empty()) addresses.push_back(std::move(address));
  }
}
