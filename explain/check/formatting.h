#pragma once

#include <fmt/core.h>
#include <iosfwd>
#include <string>

/// What libfmt makes of `format` and the `arguments`.
std::string format_all(fmt::string_view format, fmt::format_args arguments);

/// Writes that to `out`, without holding it in memory.
void write_all(std::ostream& out, fmt::string_view format, fmt::format_args arguments);

/// `format` with its "{}" replaced by the `values`, in libfmt's syntax.
template <typename... Values>
std::string formatted(const char* format, const Values&... values) {
  return format_all(format, fmt::make_format_args(values...));
}

/// Writes the same to `out`.
template <typename... Values>
void write_formatted(std::ostream& out, const char* format, const Values&... values) {
  write_all(out, format, fmt::make_format_args(values...));
}
