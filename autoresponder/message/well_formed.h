#pragma once

#include <cstddef>
#include <string_view>

#include "autoresponder/message/incoming_message.h"

// What the intake can produce, and nothing else. Its tests hold its results against this, and the
// run holds what comes from the process in which the intake works: that process may be hostile.

/// Whether `address` can be the sender, or the first mailbox of To: local part, "@", domain, made
/// of words, dots, quoted strings and literals in square brackets (RFC 822, 6.1). The parts may be
/// malformed as far as the message library lets them be, and the domain may be empty. An address
/// ends at its first NUL, so a quoted string or a literal may be cut off at the end.
bool is_mailbox_address(std::string_view address);

/// Whether `address` can be an addressee or a return path: a line of at most kMaxListedAddress
/// bytes with a local part.
bool is_listed_address(std::string_view address);

/// Whether `id` is a message id in its brackets, as RFC 5322, 3.6.4, lets a program write it: ASCII
/// only, no comments, blanks or quotes, at most kMaxMessageId bytes. In a literal after "@" angle
/// brackets are not accepted either.
bool is_message_id(std::string_view id);

/// Whether the intake can make `record`, apart from its recipient and body, from some message of
/// `message_size` bytes.
bool is_well_formed(const IncomingMessage& record, size_t message_size);

/// Maximum number of bytes that one byte becomes in UTF-8, in any charset.
constexpr size_t kMaxGrowth = 12;
