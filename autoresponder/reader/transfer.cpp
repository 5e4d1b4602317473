// The wire between child and parent: numbers and texts.
#include "autoresponder/reader/transfer.h"

#include <algorithm>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

#include "autoresponder/reader/reader_failure.h"

namespace {

constexpr size_t kBlock = size_t{1} << 20;

// Gives the pages that lie within the bytes back to the system.
void give_back(char* bytes, size_t length) {
  static const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<uintptr_t>(bytes);
  const uintptr_t first = (start + page - 1) / page * page;
  const uintptr_t end = (start + length) / page * page;
  if (first < end) madvise(bytes + (first - start), end - first, MADV_DONTNEED);
}

// Reserved memory costs nothing until it is written. If the system refuses it nevertheless, the
// text cannot be received.
std::string with_room_for(uint64_t length) {
  try {
    std::string text;
    text.reserve(length);
    return text;
  } catch (const std::bad_alloc&) {
    throw ReaderFailure();
  }
}

}  // namespace

void Sender::Number(uint64_t number) {
  char bytes[sizeof number];
  for (char& byte : bytes) {
    byte = static_cast<char>(number & 0xFF);
    number >>= 8;
  }
  sink_(bytes, sizeof bytes);
}

void Sender::Text(std::string_view text) {
  Number(text.size());
  sink_(text.data(), text.size());
}

void Sender::Texts(const std::vector<std::string_view>& texts) {
  Number(texts.size());
  for (const std::string_view text : texts) Text(text);
}

void Sender::LastUseOf(std::string& text) {
  Number(text.size());
  for (size_t at = 0; at < text.size(); at += kBlock) {
    const size_t length = std::min(kBlock, text.size() - at);
    sink_(&text[at], length);
    if (text.size() > kBlock) give_back(&text[at], length);
  }
}

uint64_t Receiver::Number(uint64_t max) {
  char bytes[sizeof(uint64_t)];
  source_(bytes, sizeof bytes);
  uint64_t number = 0;
  for (size_t i = sizeof bytes; i > 0; --i) {
    number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
  }
  if (number > max) throw ReaderFailure();
  return number;
}

std::string Receiver::Text(uint64_t max_length) {
  const uint64_t length = Number(max_length);
  std::string text = with_room_for(length);
  while (text.size() < length) {
    const size_t at = text.size();
    text.resize(std::min<uint64_t>(length, at + kBlock));
    source_(&text[at], text.size() - at);
  }
  return text;
}

std::vector<std::string> Receiver::Texts(uint64_t max_count, uint64_t max_length) {
  const uint64_t count = Number(max_count);
  std::vector<std::string> texts;
  while (texts.size() < count) {
    texts.push_back(Text(max_length));
    max_length -= texts.back().size();
  }
  return texts;
}
