#pragma once

#include <functional>
#include <string>
#include <string_view>

/// Converts `text` (any bytes) from one charset to another.
///
/// Charset names go to iconv unchanged. They may come from a message and hold anything; a name of
/// more than 256 bytes counts as unknown. With `replace_invalid` every byte that iconv rejects
/// becomes "?".
///
/// Throws `quern::ExError` if iconv does not know a name, if the text ends inside a multi-byte
/// sequence, and, without `replace_invalid`, at the first invalid byte. Kept: no closing shift
/// sequence is written for a target charset that has one.
std::string convert_charset(std::string_view text, const std::string& from_charset,
                            const std::string& to_charset, bool replace_invalid);

/// Receives a piece of converted text, which is valid during the call. Returns false to get no
/// more.
using TextSink = std::function<bool(std::string_view piece)>;

/// Converts like `convert_charset`, but hands the result to `sink` in pieces of any size instead of
/// holding it in memory. May throw after `sink` received some pieces.
void convert_charset_in_pieces(std::string_view text, const std::string& from_charset,
                               const std::string& to_charset, bool replace_invalid,
                               const TextSink& sink);

/// Whether converting `text` would change nothing. Only recognises valid UTF-8 and US-ASCII that
/// are to be converted to UTF-8; false for all other pairs of charsets.
bool is_unchanged(std::string_view text, const std::string& from_charset,
                  const std::string& to_charset);
