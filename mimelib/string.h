#ifndef MIMELIB_STRING_H
#define MIMELIB_STRING_H

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string_view>

#include "mimelib/bytes.h"

/// A byte string that may hold NULs. Copies and slices share one buffer; a string that is changed
/// gets a buffer of its own first, unless it is the only one to use it.
class DwString {
 public:
  DwString() = default;
  DwString(const char* text);  // NOLINT(google-explicit-constructor): texts stand for strings
  DwString(const char* bytes, size_t length);
  explicit DwString(std::string_view bytes) : DwString(bytes.data(), bytes.size()) {}
  /// Takes the bytes over without copying them.
  explicit DwString(Bytes&& bytes);
  /// Takes over memory from `malloc`, in which a NUL follows the `length` bytes.
  static DwString Adopt(char* bytes, size_t length) { return DwString(Bytes(bytes, length)); }

  /// The bytes, followed by a NUL; valid until the string is changed.
  const char* c_str() const;
  /// The bytes, not followed by anything in particular; valid until the string is changed.
  const char* data() const { return buffer_ ? buffer_->data() + start_ : ""; }
  size_t length() const { return length_; }

  DwString& append(const DwString& text);
  DwString& append(const char* text);
  DwString& append(const char* bytes, size_t length);
  DwString& operator+=(const DwString& text) { return append(text); }
  DwString& operator+=(const char* text) { return append(text); }

  /// Turns A-Z into a-z.
  void ConvertToLowerCase();

  /// The bytes from `start` (at most `length`) on, at most `count` of them, in the same buffer.
  DwString Slice(size_t start, size_t count) const;

  std::string_view View() const { return {data(), length_}; }

 private:
  bool OwnsBuffer() const;
  void TakeBuffer(size_t more) const;

  mutable std::shared_ptr<Bytes> buffer_;
  mutable size_t start_ = 0;
  size_t length_ = 0;
};

bool operator==(const DwString& a, const DwString& b);
bool operator!=(const DwString& a, const DwString& b);

/// Replaces `line` by the bytes of `in` up to the next "\n", which is read and not stored, or up to
/// where the stream fails. No other byte is special.
std::istream& getline(std::istream& in, DwString& line);

std::ostream& operator<<(std::ostream& out, const DwString& text);

#endif
