#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Decodes the data of a "B" encoded word (RFC 2047, 4.1). Never fails: bytes outside the alphabet
/// are skipped, and reported on standard error unless they are white space. The data ends at the
/// first "=".
///
/// Kept: the output length follows the input bytes consumed, including skipped ones, not the number
/// of symbols.
std::string base64_decode(std::string_view payload);

/// The value (0 to 63) of the next symbol of `payload` at or after `position`, which moves past the
/// symbol and the bytes skipped before it. At a "=", and at the end of the payload, returns 0 and
/// consumes nothing more.
unsigned base64_symbol(std::string_view payload, size_t& position);

/// Decodes the data of a "Q" encoded word (RFC 2047, 4.2). Never fails: a "=" without a hexadecimal
/// digit after it gives a NUL and, unless the data ends or has a NUL there, one line on standard
/// error.
std::string qp_decode(std::string_view payload);

/// Decodes one byte of `payload` at `position`, appends it to `out` and moves `position` past its
/// encoding. At the end of the payload sets `position` to -1; does nothing if it is negative.
void qp_decode_step(std::string& out, std::string_view payload, std::ptrdiff_t& position);
