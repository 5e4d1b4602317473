#ifndef AUTORESPONDER_READER_TRANSFER_H
#define AUTORESPONDER_READER_TRANSFER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Takes all of the bytes, or throws.
using ByteSink = std::function<void(const char* bytes, size_t length)>;
/// Fills `bytes` with the next `length` bytes, or throws.
using ByteSource = std::function<void(char* bytes, size_t length)>;

/// Hands values over to another process, as bytes.
class Sender {
 public:
  explicit Sender(ByteSink sink) : sink_(std::move(sink)) {}

  void Number(uint64_t number);
  void Text(std::string_view text);
  void Texts(const std::vector<std::string_view>& texts);
  /// A text that nobody needs afterwards: the memory of a large one goes back to the system while
  /// it is sent, and its bytes become NULs.
  void LastUseOf(std::string& text);

 private:
  ByteSink sink_;
};

/// Takes over values that `Sender` handed over, from a process that may have been made to send
/// anything: what exceeds its bounds throws `ReaderFailure`.
class Receiver {
 public:
  explicit Receiver(ByteSource source) : source_(std::move(source)) {}

  /// A number of at most `max`.
  uint64_t Number(uint64_t max);
  /// A text of at most `max_length` bytes.
  std::string Text(uint64_t max_length);
  /// At most `max_count` texts, with `max_length` bytes together.
  std::vector<std::string> Texts(uint64_t max_count, uint64_t max_length);

 private:
  ByteSource source_;
};

#endif
