#pragma once

#include <iosfwd>
#include <string>

#include <nlohmann/json.hpp>

#include "autoresponder/message/switches.h"
#include "autoresponder/panel/mailbox.h"

/// A JSON value whose fields keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// A column of the database as a number; as a text if it is not a whole number.
Json number_of(const std::string& column);

/// Which mailbox was found, and how.
Json mailbox_json(const FoundMailbox& found);

/// Which switches are on.
Json switches_json(const Switches& switches);

/// Writes `value` and a newline. Malformed UTF-8 becomes U+FFFD. With `on_terminal` all but ASCII
/// is escaped, so that text from strangers cannot control the terminal.
void write_json_text(std::ostream& out, const Json& value, bool on_terminal);
