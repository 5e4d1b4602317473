#pragma once

#include <string>

/// The well-formed message that belongs to `seed`. Its lines end in LF or in CRLF.
std::string make_message(unsigned seed);
