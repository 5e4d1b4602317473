#include "mimelib/string.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <utility>

DwString::DwString(const char* text) : DwString(text, strlen(text)) {}

DwString::DwString(const char* bytes, size_t length)
    : buffer_(std::make_shared<std::string>(bytes, length)), length_(length) {}

DwString::DwString(std::string&& bytes)
    : buffer_(std::make_shared<std::string>(std::move(bytes))), length_(buffer_->size()) {}

// A buffer that no other string uses and that ends where this string ends.
std::string& DwString::OwnBuffer() const {
  const bool own = buffer_ && buffer_.use_count() == 1 && start_ + length_ == buffer_->size();
  if (!own) {
    buffer_ = std::make_shared<std::string>(data(), length_);
    start_ = 0;
  }
  return *buffer_;
}

const char* DwString::c_str() const {
  if (!buffer_) return "";
  const bool ends_with_buffer = start_ + length_ == buffer_->size();
  return (ends_with_buffer ? *buffer_ : OwnBuffer()).c_str() + start_;
}

DwString& DwString::append(const DwString& text) {
  const DwString kept = text;  // NOLINT: its bytes may be our own, and have to stay
  return append(kept.data(), kept.length());
}

DwString& DwString::append(const char* text) {
  return append(text, strlen(text));
}

DwString& DwString::append(const char* bytes, size_t length) {
  if (length == 0) return *this;
  OwnBuffer().append(bytes, length);
  length_ += length;
  return *this;
}

void DwString::ConvertToLowerCase() {
  std::string& buffer = OwnBuffer();
  std::transform(buffer.begin() + static_cast<std::ptrdiff_t>(start_), buffer.end(),
                 buffer.begin() + static_cast<std::ptrdiff_t>(start_), [](char c) {
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
  if (line.buffer_.use_count() != 1) line.buffer_ = std::make_shared<std::string>();
  std::getline(in, *line.buffer_);
  line.start_ = 0;
  line.length_ = line.buffer_->size();
  return in;
}

std::ostream& operator<<(std::ostream& out, const DwString& text) {
  return out.write(text.data(), static_cast<std::streamsize>(text.length()));
}
