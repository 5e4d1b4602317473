#pragma once

#include <string>

#include <mimelib/mimepp.h>

/// The first mailbox of a Reply-To or To field that is outside of groups and has an address, or
/// null. Lives as long as the list.
const DwMailbox* first_listed_mailbox(DwAddressList& addresses);

/// The first mailbox of a From field that has an address, or null. Lives as long as the list.
const DwMailbox* first_valid_mailbox(DwMailboxList& mailboxes);

/// Local part, "@" and domain as the message has them, up to the first NUL byte.
std::string mailbox_address(const DwMailbox& mailbox);
