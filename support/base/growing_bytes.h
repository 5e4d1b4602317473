#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "support/base/owned.h"

namespace kem {

/// A growing buffer. Unlike the standard containers it grows in place if the system can extend it
/// or move its pages, so that large contents are not copied; and it leaves its capacity
/// uninitialised, so that unused memory is never allocated by the system. Running out of memory
/// throws `std::bad_alloc`.
class GrowingBytes {
 public:
  /// Empty, with capacity for `room` bytes.
  explicit GrowingBytes(size_t room) { Reserve(room); }
  /// Takes over `size` bytes of memory from `malloc`.
  GrowingBytes(char* bytes, size_t size) : data_(bytes), size_(size), room_(size) {}
  /// `other` is empty afterwards, without capacity.
  GrowingBytes(GrowingBytes&& other) noexcept
      : data_(std::move(other.data_)),
        size_(std::exchange(other.size_, 0)),
        room_(std::exchange(other.room_, 0)) {}
  GrowingBytes(const GrowingBytes&) = delete;
  GrowingBytes& operator=(const GrowingBytes&) = delete;
  GrowingBytes& operator=(GrowingBytes&&) = delete;
  ~GrowingBytes() = default;

  char* data() const { return data_.get(); }
  size_t size() const { return size_; }

  /// Where `length` bytes can be written after the present ones. Valid until the next call.
  char* RoomFor(size_t length) {
    // Doubling keeps the number of moves logarithmic.
    if (length > room_ - size_) Reserve(std::max(size_ + length, 2 * room_));
    return data() + size_;
  }

  /// Records that `length` bytes were written to the place that `RoomFor` gave.
  void Add(size_t length) { size_ += length; }

  /// Appends `length` bytes, which may be part of the buffer itself.
  void Append(const char* bytes, size_t length) {
    if (length == 0) return;
    const std::less<const char*> before;  // also orders pointers into different objects
    const bool own = !before(bytes, data()) && before(bytes, data() + size_);
    const size_t offset = own ? static_cast<size_t>(bytes - data()) : 0;
    char* const end = RoomFor(length);
    memcpy(end, own ? data() + offset : bytes, length);
    Add(length);
  }

  /// Hands the memory over to the caller, who has to `free` it. The buffer is empty afterwards,
  /// without capacity.
  char* Release() {
    size_ = 0;
    room_ = 0;
    return data_.release();
  }

 private:
  void Reserve(size_t room) {
    char* const moved = static_cast<char*>(realloc(data(), std::max<size_t>(room, 1)));
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(data_.release());
    data_.reset(moved);
    room_ = room;
  }

  OwnedText data_;
  size_t size_ = 0;
  size_t room_ = 0;
};

}  // namespace kem

// A short name for the code of this project. No installed header includes this one.
using kem::GrowingBytes;
