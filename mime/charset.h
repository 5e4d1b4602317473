#ifndef MIME_CHARSET_H
#define MIME_CHARSET_H

#include <string>
#include <string_view>

/// `text` (any bytes) converted from one charset to another.
///
/// The charset names go to iconv exactly as given, so they may be anything that a stranger writes
/// into a message. With `replace_invalid` every byte that iconv rejects becomes "?".
///
/// Throws `quern::ExError` when iconv does not know a name, when the text ends inside a multi-byte
/// sequence, and, without `replace_invalid`, at the first invalid byte. Kept: no closing shift
/// sequence is written for a target charset that has one.
std::string convert_charset(std::string_view text, const std::string& from_charset,
                            const std::string& to_charset, bool replace_invalid);

/// Whether `convert_charset` would only copy `text`. Known of text in UTF-8 or US-ASCII that is to
/// be in UTF-8; false for every other charset and name.
bool is_unchanged(std::string_view text, const std::string& from_charset,
                  const std::string& to_charset);

/// Keeps what the C library has loaded for conversions from `charset` to `to_charset` until the end
/// of the process. It loads a charset when the first conversion opens and drops it soon after the
/// last one closed, which costs more than a short text's conversion where charsets take turns. Does
/// nothing once sixty-four have been kept.
void keep_charset_loaded(const std::string& charset, const std::string& to_charset);

#endif
