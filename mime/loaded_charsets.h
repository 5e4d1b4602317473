#pragma once

#include <string>

/// Keeps `charset` loaded for conversions to `to_charset`. iconv unloads unused charsets; reloading
/// them for each word of a mixed header is slow. Does nothing for an unknown charset. If too many
/// are loaded, the least recently used one is unloaded.
void keep_charset_loaded(const std::string& charset, const std::string& to_charset);
