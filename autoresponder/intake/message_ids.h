#ifndef AUTORESPONDER_INTAKE_MESSAGE_IDS_H
#define AUTORESPONDER_INTAKE_MESSAGE_IDS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/courtesy_facts.h"

/// The well-formed message ids in the body of a Message-ID, In-Reply-To or References field, in
/// their order and with their angle brackets; others are skipped, and so are comments and phrases.
/// Of more than `most` the first is kept, and the last ones. `most`: 2 or more.
///
/// Well-formed is what RFC 5322, 3.6.4, lets a program write: no comments, no blanks, no quotes,
/// ASCII only. In a literal after "@" angle brackets are not accepted either.
std::vector<std::string> message_ids(std::string_view body, size_t most);

#endif
