#ifndef MIMELIB_BYTES_H
#define MIMELIB_BYTES_H

#include <cstddef>

/// A growing buffer. Unlike the standard containers it grows in place if the system can extend it
/// or move its pages, so that a large message is not copied; and it does not initialise its
/// capacity. Running out of memory throws `std::bad_alloc`.
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

  /// Appends `length` bytes, which may be part of the buffer itself.
  void Append(const char* bytes, size_t length);

  /// Hands the memory over to the caller, who has to `free` it. The buffer is empty then.
  char* Release();

 private:
  void Reserve(size_t room);

  char* data_ = nullptr;
  size_t size_ = 0;
  size_t room_ = 0;
};

#endif
