#include "mime/quoted_printable.h"

#include <cstdlib>

#include "support/base/diagnose.h"

namespace {

// Decodes the two bytes at `position`, which follow a "=", and moves `position` past them.
//
// Kept: `strtoul` reads them. It skips white space, takes a sign, ends at a byte that is no digit,
// and gives 0 without a digit.
char escaped_byte(std::string_view payload, std::ptrdiff_t& position) {
  char digits[3] = "";
  for (int i = 0; i < 2 && static_cast<size_t>(position) < payload.size(); ++i) {
    digits[i] = payload[static_cast<size_t>(position++)];
  }
  char* end = nullptr;
  const unsigned long value = strtoul(digits, &end, 16);
  if (end == digits && digits[0] != '\0') {
    diagnose({"Bad hex in quoted-printable string: ", digits});
  }
  return static_cast<char>(value & 0xFF);
}

}  // namespace

std::string qp_decode(std::string_view payload) {
  std::string out;
  out.reserve(payload.size());
  std::ptrdiff_t position = 0;
  while (position >= 0) qp_decode_step(out, payload, position);
  return out;
}

void qp_decode_step(std::string& out, std::string_view payload, std::ptrdiff_t& position) {
  if (position < 0) return;
  if (static_cast<size_t>(position) >= payload.size()) {
    position = -1;
    return;
  }
  const char c = payload[static_cast<size_t>(position++)];
  if (c == '=') {
    out += escaped_byte(payload, position);
  } else {
    out += c == '_' ? ' ' : c;
  }
}
