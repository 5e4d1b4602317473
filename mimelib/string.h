#ifndef MIMELIB_STRING_H
#define MIMELIB_STRING_H

#include <cstddef>
#include <iosfwd>
#include <memory>

class Bytes;

/// A byte string that may hold NULs. Copies share one buffer, as do the texts of a message's
/// components; a string that is changed gets a buffer of its own first, unless no other uses it.
class DwString {
 public:
  DwString() = default;
  DwString(const char* text);  // NOLINT(google-explicit-constructor): texts stand for strings
  DwString(const char* bytes, size_t length);
  /// Takes over memory from `malloc`.
  static DwString Adopt(char* bytes, size_t length);

  /// The bytes, not followed by anything in particular; valid until the string is changed.
  const char* data() const { return data_; }
  size_t length() const { return length_; }

  /// The bytes may be some of the string's own.
  DwString& append(const char* bytes, size_t length);
  DwString& append(const char* text);

  /// Turns A-Z into a-z.
  void ConvertToLowerCase();

 private:
  friend class DwMessageComponent;

  DwString Slice(size_t start, size_t length) const;
  bool OwnsBuffer() const;
  void TakeBuffer(size_t more);

  std::shared_ptr<Bytes> buffer_;
  const char* data_ = "";  // in the buffer, where there is one
  size_t length_ = 0;
};

bool operator==(const DwString& a, const DwString& b);

/// Replaces `line` by the bytes of `in` up to the next "\n", which is read and not stored, or up to
/// where the stream fails. No other byte is special.
std::istream& getline(std::istream& in, DwString& line);

std::ostream& operator<<(std::ostream& out, const DwString& text);

#endif
