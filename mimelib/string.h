#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>

namespace kem {
class GrowingBytes;
}

/// A byte string that may hold NULs. Copies share one buffer, and so do the texts of a message's
/// components. A string that is changed first gets a buffer of its own, unless it is the only user.
class DwString {
 public:
  DwString() = default;
  /// A copy of `text`, up to its NUL. Literals convert to strings, as in comparisons.
  DwString(const char* text);  // NOLINT(google-explicit-constructor)
  DwString(const char* bytes, size_t length);
  /// Takes over `length` bytes of memory from `malloc`.
  static DwString Adopt(char* bytes, size_t length);

  /// The bytes, without a NUL after them. Valid until the string is changed.
  const char* data() const { return data_; }
  size_t length() const { return length_; }

  /// Appends `length` bytes, which may be part of the string itself.
  DwString& append(const char* bytes, size_t length);
  DwString& append(const char* text);

  /// Turns A-Z into a-z.
  void ConvertToLowerCase();

 private:
  friend class DwMessageComponent;

  DwString Slice(size_t start, size_t length) const;
  bool OwnsBuffer() const;
  void TakeBuffer(size_t more);

  std::shared_ptr<kem::GrowingBytes> buffer_;
  const char* data_ = "";  // in the buffer, if there is one
  size_t length_ = 0;
};

bool operator==(const DwString& a, const DwString& b);

/// Replaces `line` by the bytes of `in` before the next "\n", which is read but not stored, or
/// before the point where the stream fails. No other byte is special.
std::istream& getline(std::istream& in, DwString& line);

std::ostream& operator<<(std::ostream& out, const DwString& text);
