#pragma once

#include <cstddef>
#include <string_view>

/// A lexical token of a structured header field (RFC 822, 3.3; RFC 2045, 5.1).
struct Token {
  enum class Kind {
    kEnd,            ///< no more tokens, or a quote, bracket or parenthesis that is never closed
    kSpecial,        ///< one byte of punctuation
    kAtom,           ///< a run of bytes that are neither specials nor separators
    kQuoted,         ///< a quoted string, with its quotes and backslashes
    kDomainLiteral,  ///< text in square brackets, with the brackets. Kept: also in MIME fields
  };

  /// A word as RFC 822 defines it: an atom or a quoted string.
  bool IsWord() const { return kind == Kind::kAtom || kind == Kind::kQuoted; }
  bool IsSpecial(char c) const { return kind == Kind::kSpecial && text[0] == c; }

  Kind kind;
  std::string_view text;
};

/// Splits a field into tokens. White space, comments and control characters other than DLE and DEL
/// separate tokens. Reads each byte once.
class Lexer {
 public:
  enum class Syntax {
    kAddress,  ///< specials of RFC 822
    kMime,     ///< tspecials of RFC 2045
  };

  /// `position`: where to start in `text`, which has to outlive the lexer and its tokens.
  Lexer(std::string_view text, Syntax syntax, size_t position = 0)
      : text_(text), syntax_(syntax), position_(position) {}

  /// Reads the next token; kEnd at the end, however often it is called.
  Token Next();

  /// Moves past the next special `c`, or to the end.
  void SkipPast(char c);

  /// The position from which the next token is read.
  size_t position() const { return position_; }

 private:
  bool SkipSeparators();
  bool SkipComment();
  Token Enclosed(Token::Kind kind, char close);
  Token Cut(Token::Kind kind, size_t length);
  Token End();

  std::string_view text_;
  Syntax syntax_;
  size_t position_;
};
