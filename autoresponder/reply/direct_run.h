#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A command line that a shell would only split, unquote and redirect.
struct PlainCommand {
  std::vector<std::string> words;  ///< the program's path and its arguments
  std::string input;               ///< the path of its standard input; empty: inherited
};

/// Reads a command line of words, which are of plain bytes or in single quotes, and at most one
/// `<file` at its end. The first word must be a path. Nothing for a line that needs a shell.
std::optional<PlainCommand> plain_command(std::string_view line);

/// Whether the byte is harmless where the shell reads it without quotes, as in forwarding
/// addresses: letters, digits, some signs, blanks, which separate words, and all bytes from 0x80
/// on.
bool is_plain_for_shell(char byte);

/// Runs a command as `system` does, but without a shell between, and waits for its end. False if it
/// could not be started, or if a shell would have said or done something of its own: then nothing
/// has happened. The shell that is saved is dash, Debian's /bin/sh.
bool run_directly(PlainCommand command);
