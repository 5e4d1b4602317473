#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// A field of a header.
struct HeaderField {
  std::string_view name;  ///< as written
  std::string_view body;  ///< without white space around it; folded as in the message
};

/// Walks through all fields of a header in their order, repeated ones too, in linear time. The
/// message library has no accessor for some of them.
class HeaderFields {
 public:
  /// `header` must outlive this object and the fields.
  explicit HeaderFields(std::string_view header) : rest_(header) {}

  /// Sets `field` to the next field; false if there is none. Lines without a colon are skipped.
  bool Next(HeaderField& field);

 private:
  std::string_view TakeLines();

  std::string_view rest_;
};

/// Reads tokens from the body of a structured field (RFC 5322, 3.2), in linear time on any input. A
/// blank is any byte up to 0x20.
class FieldReader {
 public:
  /// `body` must outlive the reader and the words that it returns.
  explicit FieldReader(std::string_view body) : rest_(body) {}

  bool IsAtEnd() const { return rest_.empty(); }

  /// The next byte. Do not call at the end.
  char Peek() const { return rest_[0]; }

  /// Skips blanks and comments. A comment that is never closed reaches to the end.
  void SkipBlanks();

  /// Skips the next byte if it is `c`; returns whether it was.
  bool Skip(char c);

  /// The bytes up to a blank, "(", one of `ends`, or the end.
  std::string_view Word(std::string_view ends);

  /// The bytes up to `close`, which is skipped, or to the end. A backslash quotes the byte after
  /// it. Returned without the quoting backslashes and line ends, and at most `max_length` bytes.
  std::string Enclosed(char close, size_t max_length);

 private:
  void SkipComment();

  std::string_view rest_;
};
