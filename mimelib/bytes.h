#ifndef MIMELIB_BYTES_H
#define MIMELIB_BYTES_H

#include <cstddef>

/// A growing run of bytes, followed by a NUL. Unlike the standard containers it grows where it
/// stands as long as the system can give it the pages behind it, so that a message of any size is
/// built without being copied, and it leaves room that is asked for untouched. Running out of
/// memory throws `std::bad_alloc`.
class Bytes {
 public:
  Bytes() = default;
  /// Without bytes, but with room for as many.
  explicit Bytes(size_t room) { Reserve(room); }
  /// Takes over memory from `malloc`, in which a NUL follows the `size` bytes.
  Bytes(char* bytes, size_t size) : data_(bytes), size_(size), room_(size) {}
  ~Bytes();
  Bytes(Bytes&& other) noexcept;
  Bytes& operator=(Bytes&&) = delete;
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;

  /// The bytes; null where there never was room for any.
  char* data() const { return data_; }
  size_t size() const { return size_; }

  /// `bytes` may be some of its own.
  void Append(const char* bytes, size_t length);

  /// The first `size` bytes of the room, which the caller has written, are the bytes now.
  void SetSize(size_t size);

 private:
  void Reserve(size_t room);

  char* data_ = nullptr;
  size_t size_ = 0;
  size_t room_ = 0;
};

#endif
