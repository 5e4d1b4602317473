#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Decodes the data of a "Q" encoded word (RFC 2047, 4.2). Never fails: a "=" without a hexadecimal
/// digit after it gives a NUL and, unless the data ends or has a NUL there, one line on standard
/// error.
std::string qp_decode(std::string_view payload);

/// Decodes one byte of `payload` at `position`, appends it to `out` and moves `position` past its
/// encoding. At the end of the payload sets `position` to -1; does nothing if it is negative.
void qp_decode_step(std::string& out, std::string_view payload, std::ptrdiff_t& position);
