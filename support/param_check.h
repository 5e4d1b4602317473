#pragma once

#include <initializer_list>

namespace kem {

/// Aborts the process by a failed assertion, in every build type, if `param_val` (a NUL-terminated
/// key that goes unescaped between quotes into a statement, or null) holds a backslash, a double
/// quote or a single quote. The message names `file`, `line` and `function`.
void assert_plain_param(const char* param_val, const char* file, unsigned line,
                        const char* function);

/// Checks several keys like `assert_plain_param`.
inline void assert_plain_params(std::initializer_list<const char*> params, const char* file,
                                unsigned line, const char* function) {
  for (const char* param : params) assert_plain_param(param, file, line, function);
}

}  // namespace kem
