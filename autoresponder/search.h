#ifndef AUTORESPONDER_SEARCH_H
#define AUTORESPONDER_SEARCH_H

#include <cstring>
#include <string_view>

/// Where `key` first occurs in `text`, byte for byte, or null. In linear time on any input, which
/// the search of the standard strings is not; an empty key occurs at the start.
inline const char* find_text(std::string_view text, std::string_view key) {
  if (key.empty()) return text.data();
  return static_cast<const char*>(memmem(text.data(), text.size(), key.data(), key.size()));
}

#endif
