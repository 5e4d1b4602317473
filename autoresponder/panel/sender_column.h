#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "autoresponder/panel/panel_database.h"

/// The sender (UTF-8) as the column `email` of `resp_freq` can hold it: cut to its width, and where
/// it has at most three bytes for a character with "?" for each byte of longer ones. Throws
/// `PanelFailure` if the server does not tell of the column.
std::string held_sender(PanelDatabase& database, const std::string& sender);

/// How many characters of a sender the column can hold. Throws as `held_sender` does.
size_t max_sender_length(PanelDatabase& database);

/// The first `max_count` characters of `text` (UTF-8). A continuation byte (10______) always
/// belongs to the character before it.
std::string_view first_characters(std::string_view text, size_t max_count);

/// The longest prefix of `text` (UTF-8) of at most `max_size` bytes that does not split a
/// character.
std::string_view first_bytes(std::string_view text, size_t max_size);
