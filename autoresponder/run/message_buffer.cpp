#include "autoresponder/run/message_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <new>

char* MessageBuffer::RoomFor(size_t length) {
  // So large that the system gives it pages of their own, which it can move without copying them.
  constexpr size_t kLeast = size_t{256} << 10;
  if (length > room_ - size_) {
    const size_t room = std::max({kLeast, size_ + length, 2 * room_});
    char* const moved = static_cast<char*>(realloc(bytes_.get(), room));
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes_.release());
    bytes_.reset(moved);
    room_ = room;
  }
  return bytes_.get() + size_;
}
