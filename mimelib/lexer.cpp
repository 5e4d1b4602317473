#include "mimelib/lexer.h"

namespace {

// Space, the other control characters, DEL.
bool separates(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code <= 0x20 || code == 0x7F;
}

std::string_view specials(Lexer::Syntax syntax) {
  return syntax == Lexer::Syntax::kAddress ? "()<>@,;:\\\".[]" : "()<>@,;:\\\"/[]?=";
}

}  // namespace

Token Lexer::Next() {
  if (!SkipSeparators()) return End();
  const char c = text_[position_];
  if (c == '"') return Enclosed(Token::Kind::kQuoted, '"');
  if (c == '[' && syntax_ == Syntax::kAddress) return Enclosed(Token::Kind::kDomainLiteral, ']');
  const std::string_view special = specials(syntax_);
  if (special.find(c) != std::string_view::npos) return Cut(Token::Kind::kSpecial, 1);
  size_t end = position_ + 1;
  while (end < text_.size() && !separates(text_[end]) &&
         special.find(text_[end]) == std::string_view::npos) {
    ++end;
  }
  return Cut(Token::Kind::kAtom, end - position_);
}

// False when no token follows.
bool Lexer::SkipSeparators() {
  for (; position_ < text_.size(); ++position_) {
    const char c = text_[position_];
    if (c == '(') {
      if (!SkipComment()) return false;
    } else if (!separates(c)) {
      return true;
    }
  }
  return false;
}

// Moves to the parenthesis that closes the comment at the position; comments nest. False when the
// comment never ends.
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
