#ifndef MIMELIB_BYTES_H
#define MIMELIB_BYTES_H

#include <cstddef>

/// A growing run of bytes. Unlike the standard containers it grows in place as long as the system
/// can give it the pages after it, so that a message of any size is built without being copied, and
/// it leaves room that is asked for untouched. Running out of memory throws `std::bad_alloc`.
class Bytes {
 public:
  /// Empty, with capacity for `room` bytes.
  explicit Bytes(size_t room) { Reserve(room); }
  /// Takes over memory from `malloc`.
  Bytes(char* bytes, size_t size) : data_(bytes), size_(size), room_(size) {}
  ~Bytes();
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;

  char* data() const { return data_; }
  size_t size() const { return size_; }

  /// `bytes` may be some of its own.
  void Append(const char* bytes, size_t length);

  /// The memory, now the caller's, who frees it; nothing is left here.
  char* Release();

 private:
  void Reserve(size_t room);

  char* data_ = nullptr;
  size_t size_ = 0;
  size_t room_ = 0;
};

#endif
