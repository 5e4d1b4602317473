#ifndef MIMELIB_LEXER_H
#define MIMELIB_LEXER_H

#include <cstddef>
#include <string_view>

/// The parts that a structured header field is made of (RFC 822, 3.3; RFC 2045, 5.1).
struct Token {
  enum class Kind {
    kEnd,            ///< nothing more, or something that is opened and never closed
    kSpecial,        ///< one byte of punctuation
    kAtom,           ///< a word
    kQuoted,         ///< a quoted string, with its quotes and backslashes
    kDomainLiteral,  ///< text in square brackets, with them; also where RFC 2045 knows none
  };

  bool IsWord() const { return kind == Kind::kAtom || kind == Kind::kQuoted; }
  bool IsSpecial(char c) const { return kind == Kind::kSpecial && text[0] == c; }

  Kind kind;
  std::string_view text;
};

/// Splits a field into tokens. White space, comments and control characters (but DLE and DEL)
/// separate tokens. Looks at each byte once.
class Lexer {
 public:
  enum class Syntax {
    kAddress,  ///< specials of RFC 822
    kMime,     ///< tspecials of RFC 2045
  };

  Lexer(std::string_view text, Syntax syntax, size_t position = 0)
      : text_(text), syntax_(syntax), position_(position) {}

  Token Next();

  /// Moves after the next special `c`, or to the end.
  void SkipPast(char c);

  /// Where the next token is looked for.
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

#endif
