#include "autoresponder/message/search.h"

#include <cstddef>
#include <cstring>

// Tries a bounded number of candidates that memchr finds, which is fastest in most texts; then
// memmem, which is linear on any input.
const char* find_text(std::string_view text, std::string_view key) {
  if (key.empty()) return text.data();
  if (text.size() < key.size()) return nullptr;
  constexpr size_t kLooks = 4;
  constexpr size_t kCall = 8;
  for (size_t tries = kLooks * text.size() / (key.size() + kCall); tries > 0; --tries) {
    if (text.size() < key.size()) return nullptr;
    const void* const start = memchr(text.data(), key[0], text.size() - key.size() + 1);
    if (start == nullptr) return nullptr;
    text.remove_prefix(static_cast<size_t>(static_cast<const char*>(start) - text.data()));
    if (memcmp(text.data(), key.data(), key.size()) == 0) return text.data();
    text.remove_prefix(1);
  }
  return static_cast<const char*>(memmem(text.data(), text.size(), key.data(), key.size()));
}
