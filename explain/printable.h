#pragma once

#include <string>
#include <string_view>

/// `text` (any bytes, not trusted) in a form that is safe on a terminal: every byte that is not
/// part of a printable UTF-8 character becomes "\xNN", and a backslash is doubled, so that the form
/// is unambiguous. Control characters and line ends are not printable, nor are characters that are
/// invisible or change the direction of a line.
std::string printable(std::string_view text);

/// Like `printable`, but keeps line ends and tabs.
std::string printable_lines(std::string_view text);
