// The only file that compiles the whole of libfmt. Its shared library would be one more to load.
#define FMT_HEADER_ONLY
#include "explain/check/formatting.h"

#include <fmt/format.h>
#include <iterator>
#include <ostream>

std::string format_all(fmt::string_view format, fmt::format_args arguments) {
  return fmt::vformat(format, arguments);
}

void write_all(std::ostream& out, fmt::string_view format, fmt::format_args arguments) {
  const std::ostreambuf_iterator<char> start(out);
  if (fmt::vformat_to(start, format, arguments).failed()) out.setstate(std::ios::badbit);
}
