#ifndef EXPLAIN_PRINTABLE_H
#define EXPLAIN_PRINTABLE_H

#include <string>
#include <string_view>

/// `text` (any bytes) as it may be shown on a terminal, whoever wrote it: every byte that is not
/// part of a printable character in UTF-8 becomes "\xNN", and a backslash is doubled, so that the
/// result tells what the bytes were. Control characters and line ends are not printable, nor are
/// characters that are not seen or turn the direction of a line.
std::string printable(std::string_view text);

/// Like `printable`, with line ends and tabs unchanged.
std::string printable_lines(std::string_view text);

#endif
