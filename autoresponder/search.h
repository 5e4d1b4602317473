#ifndef AUTORESPONDER_SEARCH_H
#define AUTORESPONDER_SEARCH_H

#include <cstring>
#include <string_view>

/// Whether `key` occurs in `text`, byte for byte. In linear time on any input, which the search of
/// the standard strings is not; an empty key occurs everywhere.
inline bool contains(std::string_view text, std::string_view key) {
  return key.empty() || memmem(text.data(), text.size(), key.data(), key.size()) != nullptr;
}

#endif
