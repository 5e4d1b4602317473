// The wire between child and parent: numbers, texts and the result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"

/// Takes all of the bytes, or throws.
using ByteSink = std::function<void(const char* bytes, size_t length)>;
/// Fills `bytes` with the next `length` bytes, or throws.
using ByteSource = std::function<void(char* bytes, size_t length)>;

/// Sends values to another process. A number is 8 bytes, little-endian; a text is its size as a
/// number, and its bytes; texts are their count as a number, and each text.
class Sender {
 public:
  explicit Sender(ByteSink sink) : sink_(std::move(sink)) {}

  void Number(uint64_t number);
  void Text(std::string_view text);
  void Texts(const std::vector<std::string_view>& texts);
  /// Sends a text that is not needed afterwards: memory of a large one goes back to the system
  /// while it is sent, and its bytes there become NULs.
  void LastUseOf(std::string& text);

 private:
  ByteSink sink_;
};

/// Receives what a `Sender` sent. That process may be hostile: what exceeds its bound throws
/// `ReaderFailure`.
class Receiver {
 public:
  explicit Receiver(ByteSource source) : source_(std::move(source)) {}

  /// A number of at most `max`.
  uint64_t Number(uint64_t max);
  /// A text of at most `max_length` bytes.
  std::string Text(uint64_t max_length);
  /// At most `max_count` texts, of at most `max_length` bytes together.
  std::vector<std::string> Texts(uint64_t max_count, uint64_t max_length);

 private:
  ByteSource source_;
};

/// Sends the result of an extraction. The texts of `record` are lost.
void send_result(Sender& sender, const ExtractionResult& result, IncomingMessage& record);

/// Tells the parent that the extraction threw `std::out_of_range`; `receive_result` throws it
/// again. `what`: its text.
void send_abort(Sender& sender, const std::string& what);

/// What the parent knows of the message without reading it.
struct Assignment {
  size_t message_size;       ///< bytes
  const char* delivered_to;  ///< the address of the delivery, NUL-terminated; null if there is none
  Switches switches;
};

/// Receives what `send_result` or `send_abort` sent, and fills `record` except for its body. Writes
/// the diagnostics that come first to standard error. The recipient is `delivered_to` if there is
/// one, whatever the child sent. Throws `std::out_of_range` if the extraction did, and
/// `ReaderFailure` for anything that no extraction of a message of this size gives.
ExtractionResult receive_result(Receiver& receiver, const Assignment& assignment,
                                IncomingMessage& record);
