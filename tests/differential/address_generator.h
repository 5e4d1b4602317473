#pragma once

#include <string>

#include "random.h"

/// A well-formed body of a From field: mailboxes only (RFC 822, 4.1). Lines end in "\n".
std::string make_mailbox_list(Random& random);

/// A well-formed body of a To or Reply-To field: mailboxes and groups, at least one of either.
std::string make_address_list(Random& random);

/// What may separate two words of a structured field: nothing, blanks, a fold or a comment.
std::string make_gap(Random& random);

/// `field` without the lines that hold nothing but blanks, which neighbouring gaps can leave.
std::string without_blank_lines(const std::string& field);
