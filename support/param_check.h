#ifndef SUPPORT_PARAM_CHECK_H
#define SUPPORT_PARAM_CHECK_H

/// Aborts the process through the standard assertion failure, in every build type, unless
/// `param_val` (a key that goes unescaped between quotes into a statement) is null or holds none of
/// backslash, double quote and single quote. `file` and `function` say in the message where.
void assert_plain_param(const char* param_val, const char* file, unsigned line,
                        const char* function);

/// The check for a routine of the source file `file`.
#define ASSERT_PLAIN_PARAM(file, param_val) assert_plain_param(param_val, file, __LINE__, __func__)

#endif
