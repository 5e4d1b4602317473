#ifndef MIME_LOADED_CHARSETS_H
#define MIME_LOADED_CHARSETS_H

#include <string>

/// Keeps what the C library has loaded for conversions from `charset` to `to_charset`. It unloads a
/// charset soon after its last conversion was closed, and loading it again takes longer than the
/// conversion of a short text, where charsets take turns. An unknown charset is not kept. Of more
/// charsets than there are, those that were not used for longest are given up.
void keep_charset_loaded(const std::string& charset, const std::string& to_charset);

#endif
