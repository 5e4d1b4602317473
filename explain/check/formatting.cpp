// The only file that compiles the whole of libfmt. Its shared library would be one more to load.
#define FMT_HEADER_ONLY
#include "explain/check/formatting.h"

#include <fmt/format.h>

std::string format_all(fmt::string_view format, fmt::format_args arguments) {
  return fmt::vformat(format, arguments);
}
