// The parent's side fills this buffer; the child has a copy of it.
#pragma once

#include <cstddef>
#include <type_traits>

#include "support/base/growing_bytes.h"

/// Whether `Text` can take over memory, by `Text::Adopt(bytes, length)`: memory from `malloc`, in
/// which a NUL follows the bytes.
template <class Text, class = void>
struct CanAdopt : std::false_type {};
template <class Text>
struct CanAdopt<Text, std::void_t<decltype(Text::Adopt(nullptr, size_t{0}))>> : std::true_type {};

/// The incoming message while it is read: blocks are read straight into their final place, and the
/// buffer grows without copying a large message. Running out of memory throws `std::bad_alloc`.
class MessageBuffer : private GrowingBytes {
 public:
  MessageBuffer() : GrowingBytes(kFirstRoom) {}

  /// A copy, for a message that is read twice.
  MessageBuffer Copy() const {
    MessageBuffer copy;
    copy.Append(data(), size());
    return copy;
  }

  using GrowingBytes::Add;
  using GrowingBytes::RoomFor;
  using GrowingBytes::size;

  /// The message as a `Text` that takes over the memory, or a copy if `Text` cannot. The buffer is
  /// empty afterwards.
  template <class Text>
  Text Take() {
    *RoomFor(1) = '\0';
    const size_t length = size();
    OwnedText bytes(Release());
    if constexpr (CanAdopt<Text>::value) {
      return Text::Adopt(bytes.release(), length);
    } else {
      return Text(bytes.get(), length);
    }
  }

 private:
  // So large that `malloc` maps it separately: growing then moves pages instead of copying.
  static constexpr size_t kFirstRoom = size_t{256} << 10;
};
