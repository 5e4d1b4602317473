#include "mimelib/string.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

DwString::DwString(const char* text) : DwString(text, strlen(text)) {}

DwString::DwString(const char* bytes, size_t length)
    : buffer_(std::make_shared<Bytes>(length)), length_(length) {
  buffer_->Append(bytes, length);
}

DwString::DwString(Bytes&& bytes)
    : buffer_(std::make_shared<Bytes>(std::move(bytes))), length_(buffer_->size()) {}

// Whether no other string uses the buffer and it ends where this string ends.
bool DwString::OwnsBuffer() const {
  return buffer_ && buffer_.use_count() == 1 && start_ + length_ == buffer_->size();
}

// Gives the string a buffer of its own, with room for `more` bytes.
void DwString::TakeBuffer(size_t more) const {
  auto own = std::make_shared<Bytes>(length_ + more);
  own->Append(data(), length_);
  buffer_ = std::move(own);
  start_ = 0;
}

const char* DwString::c_str() const {
  if (!buffer_) return "";
  if (start_ + length_ != buffer_->size()) TakeBuffer(0);
  return data();
}

DwString& DwString::append(const DwString& text) {
  return append(text.data(), text.length());
}

DwString& DwString::append(const char* text) {
  return append(text, strlen(text));
}

// The bytes may be those of the string itself.
DwString& DwString::append(const char* bytes, size_t length) {
  if (length == 0) return *this;
  const std::shared_ptr<Bytes> before = OwnsBuffer() ? nullptr : buffer_;
  if (!OwnsBuffer()) TakeBuffer(length);
  buffer_->Append(bytes, length);
  length_ += length;
  return *this;
}

void DwString::ConvertToLowerCase() {
  if (!OwnsBuffer()) TakeBuffer(0);
  char* const begin = buffer_->data() + start_;
  std::transform(begin, begin + length_, begin, [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
}

DwString DwString::Slice(size_t start, size_t count) const {
  DwString slice;
  slice.buffer_ = buffer_;
  slice.start_ = start_ + start;
  slice.length_ = std::min(count, length_ - start);
  return slice;
}

bool operator==(const DwString& a, const DwString& b) {
  return a.View() == b.View();
}

bool operator!=(const DwString& a, const DwString& b) {
  return !(a == b);
}

std::istream& getline(std::istream& in, DwString& line) {
  std::string bytes;
  std::getline(in, bytes);
  line = DwString(bytes);
  return in;
}

std::ostream& operator<<(std::ostream& out, const DwString& text) {
  return out.write(text.data(), static_cast<std::streamsize>(text.length()));
}
