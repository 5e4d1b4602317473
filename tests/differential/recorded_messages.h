#ifndef TESTS_DIFFERENTIAL_RECORDED_MESSAGES_H
#define TESTS_DIFFERENTIAL_RECORDED_MESSAGES_H

#include <string>
#include <vector>

/// The messages of tests/data/messages.json, well-formed and malformed ones.
std::vector<std::string> recorded_messages();

#endif
