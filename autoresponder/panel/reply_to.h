#pragma once

#include <string_view>

/// Whether qmail's `qmail-inject` can parse the text as the body of an address field (RFC
/// 5322, 3.4, with its obsolete forms): every quote, comment, literal, angle bracket and group has
/// its end. It does not send a message with another one in Reply-To or From.
bool can_be_parsed(std::string_view addresses);
