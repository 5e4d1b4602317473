#pragma once

#include <iosfwd>

#include "explain/check/check.h"
#include "explain/explanation.h"
#include "explain/listing.h"
#include "explain/text_style.h"

// Each answer for people, its texts made safe for a terminal, and for programs, as one JSON object
// in UTF-8, in which malformed bytes become U+FFFD.

/// What a run would do with a message.
void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style);
void write_json(std::ostream& out, const Explanation& explanation, const TextStyle& style);

/// The findings have one line each.
void write_check_text(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style);
void write_check_json(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style);

void write_listing_text(std::ostream& out, const Listings& listings, const TextStyle& style);
/// Several listings become "mailboxes". `diagnostics`: what was written to standard error
/// meanwhile.
void write_listing_json(std::ostream& out, const Listings& listings, const std::string& diagnostics,
                        const TextStyle& style);

/// The rules have one line each.
void write_today_text(std::ostream& out, const Today& today);
void write_today_json(std::ostream& out, const Today& today, const TextStyle& style);
