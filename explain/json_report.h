#ifndef EXPLAIN_JSON_REPORT_H
#define EXPLAIN_JSON_REPORT_H

#include <iosfwd>

#include "explain/explanation.h"

/// Writes the explanation as one JSON object. Texts are UTF-8; malformed bytes become U+FFFD.
/// `show_reply`: whether to include the whole reply.
void write_json(std::ostream& out, const Explanation& explanation, bool show_reply);

#endif
