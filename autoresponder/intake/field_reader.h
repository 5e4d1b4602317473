#ifndef AUTORESPONDER_INTAKE_FIELD_READER_H
#define AUTORESPONDER_INTAKE_FIELD_READER_H

#include <cstddef>
#include <string>
#include <string_view>

/// Reads the body of a structured field from its start to its end (RFC 5322, 3.2). Reads each byte
/// once, whatever it is.
class FieldReader {
 public:
  /// `body` has to outlive the reader and what it gives.
  explicit FieldReader(std::string_view body) : rest_(body) {}

  bool IsAtEnd() const { return rest_.empty(); }

  /// The next byte. Not at the end.
  char Peek() const { return rest_[0]; }

  /// Skips white space, control characters and comments. A comment that is never closed reaches to
  /// the end.
  void SkipBlanks();

  /// Skips the next byte if it is `c`; returns whether it was.
  bool Skip(char c);

  /// The bytes up to white space, a control character, "(", one of `ends`, or the end.
  std::string_view Word(std::string_view ends);

  /// The bytes from here to the closing `close`, which is skipped, or to the end. A backslash
  /// quotes the byte after it. Without the backslashes and line ends, and no more than
  /// `max_length` bytes.
  std::string Enclosed(char close, size_t max_length);

 private:
  void SkipComment();

  std::string_view rest_;
};

#endif
