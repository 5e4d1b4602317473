#ifndef MIME_BASE64_H
#define MIME_BASE64_H

#include <cstddef>
#include <string>
#include <string_view>

/// The bytes of a "B" encoded word's data (RFC 2047, 4.1). Never fails: white space is skipped, any
/// other byte outside the alphabet too, with one line on standard error. The first "=" ends the
/// data for good.
///
/// Kept: how many bytes a group of four symbols gives depends on the bytes it consumed, skipped
/// ones included, and not on its symbols.
std::string base64_decode(std::string_view payload);

/// The value (0 to 63) of the next symbol of `payload` at or after `position`, which moves behind
/// what was consumed; 0 at the end of the payload and at "=", neither of which is consumed.
unsigned base64_symbol(std::string_view payload, size_t& position);

#endif
