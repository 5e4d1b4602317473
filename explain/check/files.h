#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "explain/check/inspection.h"

/// The state of the file `path`; nothing if `stat` fails, with the reason in `errno`.
std::optional<struct stat> state_of(const std::string& path);

/// Whether somebody other than root may write to it.
bool others_may_write(const struct stat& state);

/// "mode 4750" and the like.
std::string mode_of(const struct stat& state);

/// The system's message for the error number `error`.
std::string words_of(int error);

/// Whether `error` means that root could look, and this user may not.
bool is_hidden_from_us(int error);

/// The lines of the file `path` as qmail reads its control files: without trailing white space,
/// empty lines and comments. Nothing if there is no such file; one that cannot be read is added to
/// the findings.
std::optional<std::vector<std::string>> control_lines(const std::string& path,
                                                      Inspection& inspection);

/// The parts of `line` between colons.
std::vector<std::string> fields_of(const std::string& line);
