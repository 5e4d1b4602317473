#pragma once

#include <cstddef>
#include <string_view>

/// The number of ASCII bytes at the start of `text`, before the first other byte.
size_t ascii_length(std::string_view text);

/// The number of bytes of well-formed UTF-8 at the start of `text` (RFC 3629, 4: no surrogates, no
/// forms longer than needed, nothing above U+10FFFF), before the first sequence that is malformed
/// or cut by the end.
size_t utf8_length(std::string_view text);
