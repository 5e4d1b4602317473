#ifndef TESTS_DIFFERENTIAL_MESSAGE_GENERATOR_H
#define TESTS_DIFFERENTIAL_MESSAGE_GENERATOR_H

#include <string>

/// The well-formed message that belongs to `seed`. Its lines end in LF or in CRLF.
std::string make_message(unsigned seed);

#endif
