#pragma once

#include <string_view>

/// Where `key` first occurs in `text`, byte for byte, or null; an empty key occurs at the start.
/// Takes linear time on any input, unlike `std::string_view::find`.
const char* find_text(std::string_view text, std::string_view key);
