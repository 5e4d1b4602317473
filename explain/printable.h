#ifndef EXPLAIN_PRINTABLE_H
#define EXPLAIN_PRINTABLE_H

#include <string>
#include <string_view>

/// `text` (any bytes, not trusted) in a form that is safe on a terminal: every byte that is not
/// part of printable UTF-8 becomes "\xNN", also control characters and line ends.
std::string printable(std::string_view text);

/// Like `printable`, but keeps line ends and tabs.
std::string printable_lines(std::string_view text);

#endif
