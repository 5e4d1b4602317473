#ifndef EXPLAIN_PRINTABLE_H
#define EXPLAIN_PRINTABLE_H

#include <string>
#include <string_view>

/// `text` as it may be shown on a terminal, whoever wrote it: every byte that is not part of
/// printable UTF-8, control characters and line ends among them, becomes "\xNN".
std::string printable(std::string_view text);

/// The same with line ends and tabs as they are.
std::string printable_lines(std::string_view text);

#endif
