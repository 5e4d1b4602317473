#ifndef MIME_CHARSET_H
#define MIME_CHARSET_H

#include <functional>
#include <string>
#include <string_view>

/// `text` (any bytes) converted from one charset to another.
///
/// The charset names go to iconv exactly as given, so they may be anything that a stranger writes
/// into a message; one of more than 256 bytes counts as unknown. With `replace_invalid` every byte
/// that iconv rejects becomes "?".
///
/// Throws `quern::ExError` when iconv does not know a name, when the text ends inside a multi-byte
/// sequence, and, without `replace_invalid`, at the first invalid byte. Kept: no closing shift
/// sequence is written for a target charset that has one.
std::string convert_charset(std::string_view text, const std::string& from_charset,
                            const std::string& to_charset, bool replace_invalid);

/// Gets a piece of converted text, valid during the call; returns whether it wants more.
using TextSink = std::function<bool(std::string_view piece)>;

/// Converts like `convert_charset`, and hands the result to `sink` in pieces of any size, so that
/// it is never in memory whole. An exception may come after some of them.
void convert_charset_in_pieces(std::string_view text, const std::string& from_charset,
                               const std::string& to_charset, bool replace_invalid,
                               const TextSink& sink);

/// Whether `convert_charset` would only copy `text`. Known of text in UTF-8 or US-ASCII that is to
/// be in UTF-8; false for every other charset and name.
bool is_unchanged(std::string_view text, const std::string& from_charset,
                  const std::string& to_charset);

#endif
