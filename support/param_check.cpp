// The assertion is part of the routines' contract, so it stays in builds without assertions.
#undef NDEBUG
#include "support/param_check.h"

#include <cassert>
#include <cstring>

namespace kem {

void assert_plain_param(const char* param_val, const char* file, unsigned line,
                        const char* function) {
  if (param_val == nullptr || strpbrk(param_val, "\\\"'") == nullptr) return;
  __assert_fail(R"(param_val == NULL || strpbrk(param_val, "\\\"'") == NULL)", file, line,
                function);
}

}  // namespace kem
