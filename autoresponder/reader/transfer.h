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
/// anything: what does not have the form of a value throws `ReaderFailure`.
class Receiver {
 public:
  /// `most`: how many bytes all texts may have together.
  Receiver(ByteSource source, uint64_t most) : source_(std::move(source)), left_(most) {}

  uint64_t Number();
  /// A number of at most `greatest`.
  uint64_t Number(uint64_t greatest);
  std::string Text();
  std::vector<std::string> Texts();

 private:
  ByteSource source_;
  uint64_t left_;
};

#endif
