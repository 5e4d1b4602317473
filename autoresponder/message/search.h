#ifndef AUTORESPONDER_MESSAGE_SEARCH_H
#define AUTORESPONDER_MESSAGE_SEARCH_H

#include <string_view>

/// Where `key` first occurs in `text`, byte for byte, or null. In linear time on any input, which
/// the search of the standard strings is not; an empty key occurs at the start.
const char* find_text(std::string_view text, std::string_view key);

#endif
