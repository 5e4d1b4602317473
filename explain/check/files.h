#ifndef EXPLAIN_CHECK_FILES_H
#define EXPLAIN_CHECK_FILES_H

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "explain/check/inspection.h"

/// The state of the file `path`; nothing if it cannot be asked, which `errno` explains.
std::optional<struct stat> state_of(const std::string& path);

/// Whether somebody other than root may write to it.
bool others_may_write(const struct stat& state);

/// "mode 4750" and the like.
std::string mode_of(const struct stat& state);

/// What the system says of the error number `error`.
std::string words_of(int error);

/// Whether `error` says that this user may not look, and root might.
bool is_hidden_from_us(int error);

/// The lines of the file `path` as qmail reads its control files: without white space at their
/// ends, without empty lines and comments. Nothing without the file; a file that cannot be read is
/// added to the findings.
std::optional<std::vector<std::string>> control_lines(const std::string& path,
                                                      Inspection& inspection);

/// The parts of `line` between colons.
std::vector<std::string> fields_of(const std::string& line);

#endif
