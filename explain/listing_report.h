#pragma once

#include <iosfwd>

#include "explain/listing.h"
#include "explain/text_style.h"

/// Writes the listing for people. Values from the database are made safe for a terminal.
void write_listing_text(std::ostream& out, const Listing& listing, const TextStyle& style);

/// Writes the listing as one JSON object.
void write_listing_json(std::ostream& out, const Listing& listing, const TextStyle& style);
