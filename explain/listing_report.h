#pragma once

#include <iosfwd>

#include "explain/listing.h"
#include "explain/text_style.h"

/// Writes the listings for people. Values from the database are made safe for a terminal.
void write_listing_text(std::ostream& out, const Listings& listings, const TextStyle& style);

/// Writes one JSON object: the listing, or several as "mailboxes".
///
/// `diagnostics`: what was written to standard error meanwhile.
void write_listing_json(std::ostream& out, const Listings& listings, const std::string& diagnostics,
                        const TextStyle& style);
