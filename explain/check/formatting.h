#pragma once

#include <fmt/core.h>
#include <string>

/// What libfmt makes of `format` and the `arguments`.
std::string format_all(fmt::string_view format, fmt::format_args arguments);

/// `format` with its "{}" replaced by the `values`, in libfmt's syntax.
template <typename... Values>
std::string formatted(const char* format, const Values&... values) {
  return format_all(format, fmt::make_format_args(values...));
}
