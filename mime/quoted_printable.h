#ifndef MIME_QUOTED_PRINTABLE_H
#define MIME_QUOTED_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

/// The bytes of a "Q" encoded word's data (RFC 2047, 4.2). Never fails: "=" followed by no
/// hexadecimal digit gives a NUL and one line on standard error.
std::string qp_decode(std::string_view payload);

/// Decodes the unit of `payload` at `position`, appends it to `out` and moves `position` behind it;
/// at the end of the payload the position becomes -1, and a negative position stays as it is.
void qp_decode_step(std::string& out, std::string_view payload, std::ptrdiff_t& position);

#endif
