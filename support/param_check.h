#ifndef SUPPORT_PARAM_CHECK_H
#define SUPPORT_PARAM_CHECK_H

#include <initializer_list>

namespace kem {

/// Aborts the process through the standard assertion failure, in every build type, unless
/// `param_val` (a NUL-terminated key that goes unescaped between quotes into a statement) is null
/// or holds none of backslash, double quote and single quote. `file`, `line` and `function` say in
/// the message where.
void assert_plain_param(const char* param_val, const char* file, unsigned line,
                        const char* function);

/// The same for several keys.
inline void assert_plain_params(std::initializer_list<const char*> params, const char* file,
                                unsigned line, const char* function) {
  for (const char* param : params) assert_plain_param(param, file, line, function);
}

}  // namespace kem

#endif
