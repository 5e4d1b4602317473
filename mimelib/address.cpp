#include "mimelib/address.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "mimelib/lexer.h"

namespace {

using Kind = Token::Kind;

// The place of an entry in its list.
struct Entry {
  size_t start = 0;
  size_t end = 0;
  size_t resume = 0;  // where the search for the next entry starts
  bool is_group = false;
};

enum class Place { kTop, kAngle, kGroup };

// What the token after `token` is part of. Only a comma at the top ends an entry: after a group's
// ";" or after a ">" the entry goes on.
Place place_after(Place place, const Token& token, bool with_groups) {
  switch (place) {
    case Place::kTop:
      if (token.IsSpecial('<')) return Place::kAngle;
      return with_groups && token.IsSpecial(':') ? Place::kGroup : place;
    case Place::kAngle:
      return token.IsSpecial('>') ? Place::kTop : place;
    case Place::kGroup:
      return token.IsSpecial(';') ? Place::kTop : place;
  }
  return place;
}

// The first entry at or after `position`; its end is 0 if there is none. Entries without a token
// are skipped.
Entry find_entry(std::string_view list, bool with_groups, size_t position) {
  Lexer lexer(list, Lexer::Syntax::kAddress, position);
  Entry entry;
  Place place = Place::kTop;
  for (Token token = lexer.Next(); token.kind != Kind::kEnd; token = lexer.Next()) {
    if (place == Place::kTop && token.IsSpecial(',')) {
      if (entry.end > 0) break;
      continue;
    }
    if (entry.end == 0) entry.start = lexer.position() - token.text.size();
    entry.end = lexer.position();
    place = place_after(place, token, with_groups);
    entry.is_group = entry.is_group || place == Place::kGroup;
  }
  entry.resume = lexer.position();
  return entry;
}

// Returns `lexer`, which is after a "<", moved to the local part: the first word, or past a route
// ("@a,@b:"). Other tokens before them, such as a dot, are dropped.
Lexer in_angles(Lexer lexer) {
  for (;;) {
    const Lexer before = lexer;
    const Token token = lexer.Next();
    if (token.kind == Kind::kEnd || token.IsWord()) return before;
    if (token.IsSpecial('@')) break;
  }
  lexer.SkipPast(':');
  return lexer;
}

// A lexer at the local part, which is in "<...>" unless an "@" precedes the first "<".
Lexer at_local_part(std::string_view text) {
  const Lexer start(text, Lexer::Syntax::kAddress);
  Lexer lexer = start;
  for (Token token = lexer.Next(); !token.IsSpecial('<'); token = lexer.Next()) {
    if (token.kind == Kind::kEnd || token.IsSpecial('@')) return start;
  }
  return in_angles(lexer);
}

// The atoms, dots and tokens of the kind `other` before the special `end`, which is read too.
std::string collect_until(Lexer& lexer, char end, Kind other) {
  std::string text;
  for (Token token = lexer.Next(); token.kind != Kind::kEnd; token = lexer.Next()) {
    if (token.IsSpecial(end)) break;
    if (token.kind == Kind::kAtom || token.kind == other || token.IsSpecial('.')) {
      text += token.text;
    }
  }
  return text;
}

// Turns each line end (CR LF, CR or LF) into a blank: a quoted local part may be folded.
std::string on_one_line(std::string text) {
  size_t length = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool line_end = text[i] == '\r' || text[i] == '\n';
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    text[length++] = line_end ? ' ' : text[i];
  }
  text.resize(length);
  return text;
}

DwString string_of(const std::string& bytes) {
  return {bytes.data(), bytes.size()};
}

}  // namespace

DwAddress::DwAddress(DwString entry, DwAddressSequence* sequence, size_t resume)
    : DwMessageComponent(std::move(entry)), sequence_(sequence), resume_(resume) {}

DwAddress* DwAddress::Next() const {
  if (next_ == nullptr) next_ = sequence_->ParseAt(resume_);
  return next_;
}

DwMailbox::DwMailbox(const DwString& entry, DwAddressSequence* sequence, size_t resume)
    : DwAddress(entry, sequence, resume) {
  Lexer lexer = at_local_part(text());
  local_part_ = string_of(on_one_line(collect_until(lexer, '@', Kind::kQuoted)));
  domain_ = string_of(collect_until(lexer, '>', Kind::kDomainLiteral));
}

DwAddress* DwAddressSequence::ParseAt(size_t position) {
  const Entry entry = find_entry(text(), with_groups_, position);
  if (entry.end == 0) return nullptr;
  const DwString slice = Slice(text().substr(entry.start, entry.end - entry.start));
  if (entry.is_group) return kept_.Add(std::make_unique<DwGroup>(slice, this, entry.resume));
  return kept_.Add(std::make_unique<DwMailbox>(slice, this, entry.resume));
}
