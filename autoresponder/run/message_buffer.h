#ifndef AUTORESPONDER_RUN_MESSAGE_BUFFER_H
#define AUTORESPONDER_RUN_MESSAGE_BUFFER_H

#include <cstddef>
#include <type_traits>
#include <utility>

#include "support/base/owned.h"

/// Whether texts of this class can take memory over: `Text::Adopt(bytes, length)`, where the memory
/// is from `malloc` and a NUL follows the bytes.
template <class Text, class = void>
struct CanAdopt : std::false_type {};
template <class Text>
struct CanAdopt<Text, std::void_t<decltype(Text::Adopt(nullptr, size_t{0}))>> : std::true_type {};

/// Bytes of any number that arrive a block at a time, and are read to where they stay: a large
/// message is not copied. Running out of memory throws `std::bad_alloc`.
class MessageBuffer {
 public:
  /// Where `length` more bytes can be written behind those that are there, until the next call.
  char* RoomFor(size_t length);

  /// As many of them have been written.
  void Add(size_t length) { size_ += length; }

  /// The bytes, which leave the buffer. A text that cannot take them over is a copy.
  template <class Text>
  Text Take() {
    *RoomFor(1) = '\0';
    OwnedText bytes = std::move(bytes_);
    room_ = 0;
    const size_t size = std::exchange(size_, 0);
    if constexpr (CanAdopt<Text>::value) {
      return Text::Adopt(bytes.release(), size);
    } else {
      return Text(bytes.get(), size);
    }
  }

 private:
  OwnedText bytes_;
  size_t size_ = 0;
  size_t room_ = 0;
};

#endif
