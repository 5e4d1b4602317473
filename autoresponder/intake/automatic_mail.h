#pragma once

#include <string_view>

#include "autoresponder/message/courtesy_facts.h"

/// Reads from a header whether the message may be answered automatically. `header`: its text, any
/// bytes. Names of fields and the words in them match in any case. Repeated fields all count, but
/// only the first Message-ID, References and In-Reply-To. Takes linear time; the size of the result
/// is bounded.
CourtesyFacts gather_courtesy_facts(std::string_view header);
