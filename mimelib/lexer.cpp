#include "mimelib/lexer.h"

#include <array>

namespace {

// What a byte is outside quotes, brackets and comments.
enum class ByteKind : char { kWord, kSeparator, kSpecial };
using ByteKinds = std::array<ByteKind, 256>;

// Kept: DLE and DEL are bytes of words. The other control characters separate, like the blank.
constexpr ByteKinds make_kinds(std::string_view specials) {
  constexpr size_t kDle = 0x10;
  ByteKinds kinds{};
  for (size_t code = 0; code <= ' '; ++code) {
    if (code != kDle) kinds[code] = ByteKind::kSeparator;
  }
  for (const char c : specials) kinds[static_cast<unsigned char>(c)] = ByteKind::kSpecial;
  return kinds;
}

constexpr ByteKinds kAddressKinds = make_kinds("()<>@,;:\\\".[]");
constexpr ByteKinds kMimeKinds = make_kinds("()<>@,;:\\\"/[]?=");

ByteKind kind_of(char c, Lexer::Syntax syntax) {
  const ByteKinds& kinds = syntax == Lexer::Syntax::kAddress ? kAddressKinds : kMimeKinds;
  return kinds[static_cast<unsigned char>(c)];
}

}  // namespace

Token Lexer::Next() {
  if (!SkipSeparators()) return End();
  const char c = text_[position_];
  if (c == '"') return Enclosed(Token::Kind::kQuoted, '"');
  if (c == '[') return Enclosed(Token::Kind::kDomainLiteral, ']');
  if (kind_of(c, syntax_) == ByteKind::kSpecial) return Cut(Token::Kind::kSpecial, 1);
  size_t end = position_ + 1;
  while (end < text_.size() && kind_of(text_[end], syntax_) == ByteKind::kWord) ++end;
  return Cut(Token::Kind::kAtom, end - position_);
}

void Lexer::SkipPast(char c) {
  Token token = Next();
  while (token.kind != Token::Kind::kEnd && !token.IsSpecial(c)) token = Next();
}

// Moves to the next token; false if there is none.
bool Lexer::SkipSeparators() {
  for (; position_ < text_.size(); ++position_) {
    const char c = text_[position_];
    if (c == '(') {
      if (!SkipComment()) return false;
    } else if (kind_of(c, syntax_) != ByteKind::kSeparator) {
      return true;
    }
  }
  return false;
}

// Moves to the ")" that closes the comment at the position; comments nest. False if it is never
// closed.
bool Lexer::SkipComment() {
  size_t depth = 0;
  for (; position_ < text_.size(); ++position_) {
    switch (text_[position_]) {
      case '\\':
        ++position_;
        break;
      case '(':
        ++depth;
        break;
      case ')':
        if (--depth == 0) return true;
        break;
      default:
        break;
    }
  }
  return false;
}

Token Lexer::Enclosed(Token::Kind kind, char close) {
  for (size_t i = position_ + 1; i < text_.size(); ++i) {
    if (text_[i] == close) return Cut(kind, i + 1 - position_);
    if (text_[i] == '\\') ++i;
  }
  return End();
}

Token Lexer::Cut(Token::Kind kind, size_t length) {
  const Token token{kind, text_.substr(position_, length)};
  position_ += length;
  return token;
}

Token Lexer::End() {
  position_ = text_.size();
  return {Token::Kind::kEnd, {}};
}
