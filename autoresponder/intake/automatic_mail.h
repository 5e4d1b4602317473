#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/courtesy_facts.h"

/// The message ids (`is_message_id`) in the body of a Message-ID, In-Reply-To or References field,
/// in their order and with their angle brackets; everything else is skipped. If there are more than
/// `max_count` (2 or more), the first one and the last ones are returned.
std::vector<std::string> message_ids(std::string_view body, size_t max_count);

/// Reads from a header whether the message may be answered automatically. `header`: its text, any
/// bytes. Names of fields and the words in them match in any case. Repeated fields all count, but
/// only the first Message-ID, References and In-Reply-To. Takes linear time; the size of the result
/// is bounded.
CourtesyFacts gather_courtesy_facts(std::string_view header);
