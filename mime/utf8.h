#ifndef MIME_UTF8_H
#define MIME_UTF8_H

#include <cstddef>
#include <string_view>

/// How many bytes in front of the first one that is not ASCII.
size_t ascii_length(std::string_view text);

/// How many bytes of well-formed UTF-8 (RFC 3629, 4: no surrogates, no forms longer than needed,
/// nothing above U+10FFFF) in front of the first sequence that is not, or is cut by the end.
size_t utf8_length(std::string_view text);

#endif
