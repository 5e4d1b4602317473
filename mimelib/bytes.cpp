#include "mimelib/bytes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

Bytes::~Bytes() {
  free(data_);
}

Bytes::Bytes(Bytes&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      room_(std::exchange(other.room_, 0)) {}

void Bytes::Reserve(size_t room) {
  char* const moved = static_cast<char*>(realloc(data_, room + 1));
  if (moved == nullptr) throw std::bad_alloc();
  data_ = moved;
  room_ = room;
  data_[size_] = '\0';
}

void Bytes::Append(const char* bytes, size_t length) {
  const std::less<const char*> before;
  const bool own = data_ != nullptr && !before(bytes, data_) && before(bytes, data_ + size_);
  const size_t offset = own ? static_cast<size_t>(bytes - data_) : 0;
  if (data_ == nullptr || length > room_ - size_) Reserve(std::max(size_ + length, 2 * size_));
  if (length > 0) memcpy(data_ + size_, own ? data_ + offset : bytes, length);
  SetSize(size_ + length);
}

void Bytes::SetSize(size_t size) {
  size_ = size;
  data_[size_] = '\0';
}
