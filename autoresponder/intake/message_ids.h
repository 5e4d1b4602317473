#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The message ids (`is_message_id`) in the body of a Message-ID, In-Reply-To or References field,
/// in their order and with their angle brackets; everything else is skipped. If there are more than
/// `max_count` (2 or more), the first one and the last ones are returned.
std::vector<std::string> message_ids(std::string_view body, size_t max_count);
