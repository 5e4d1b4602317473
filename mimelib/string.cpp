#include "mimelib/string.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

#include "support/base/growing_bytes.h"
#include "support/base/letter_case.h"

DwString::DwString(const char* text) : DwString(text, strlen(text)) {}

DwString::DwString(const char* bytes, size_t length)
    : buffer_(std::make_shared<GrowingBytes>(length)), length_(length) {
  buffer_->Append(bytes, length);
  data_ = buffer_->data();
}

DwString DwString::Adopt(char* bytes, size_t length) {
  DwString text;
  text.buffer_ = std::make_shared<GrowingBytes>(bytes, length);
  text.data_ = bytes;
  text.length_ = length;
  return text;
}

// Whether this string is the only user of its buffer and ends where the buffer ends.
bool DwString::OwnsBuffer() const {
  return buffer_ && buffer_.use_count() == 1 &&
         data_ + length_ == buffer_->data() + buffer_->size();
}

// Gives the string a buffer of its own, with capacity for `more` further bytes.
void DwString::TakeBuffer(size_t more) {
  auto own = std::make_shared<GrowingBytes>(length_ + more);
  own->Append(data_, length_);
  buffer_ = std::move(own);
  data_ = buffer_->data();
}

DwString& DwString::append(const char* text) {
  return append(text, strlen(text));
}

DwString& DwString::append(const char* bytes, size_t length) {
  if (length == 0) return *this;
  std::shared_ptr<GrowingBytes> before;  // may hold `bytes`
  if (!OwnsBuffer()) {
    before = buffer_;
    TakeBuffer(length);
  }
  const ptrdiff_t start = data_ - buffer_->data();
  buffer_->Append(bytes, length);
  data_ = buffer_->data() + start;
  length_ += length;
  return *this;
}

void DwString::ConvertToLowerCase() {
  if (!OwnsBuffer()) TakeBuffer(0);
  char* const begin = buffer_->data() + (data_ - buffer_->data());
  std::transform(begin, begin + length_, begin, [](char c) { return lower_case(c); });
}

// `length` bytes from `start` on, in the same buffer.
DwString DwString::Slice(size_t start, size_t length) const {
  DwString slice;
  slice.buffer_ = buffer_;
  slice.data_ = data_ + start;
  slice.length_ = length;
  return slice;
}

bool operator==(const DwString& a, const DwString& b) {
  return a.length() == b.length() && memcmp(a.data(), b.data(), a.length()) == 0;
}

std::istream& getline(std::istream& in, DwString& line) {
  std::string bytes;
  std::getline(in, bytes);
  line = DwString(bytes.data(), bytes.size());
  return in;
}

std::ostream& operator<<(std::ostream& out, const DwString& text) {
  return out.write(text.data(), static_cast<std::streamsize>(text.length()));
}
