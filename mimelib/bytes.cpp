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

void Bytes::Reserve(size_t room) {
  char* const moved = static_cast<char*>(realloc(data_, std::max<size_t>(room, 1)));
  if (moved == nullptr) throw std::bad_alloc();
  data_ = moved;
  room_ = room;
}

void Bytes::Append(const char* bytes, size_t length) {
  const std::less<const char*> before;
  const bool own = !before(bytes, data_) && before(bytes, data_ + size_);
  const size_t offset = own ? static_cast<size_t>(bytes - data_) : 0;
  if (length > room_ - size_) Reserve(std::max(size_ + length, 2 * size_));
  if (length > 0) memcpy(data_ + size_, own ? data_ + offset : bytes, length);
  size_ += length;
}

char* Bytes::Release() {
  size_ = 0;
  room_ = 0;
  return std::exchange(data_, nullptr);
}
