#pragma once

#include <string>
#include <string_view>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"

/// Whether the local part of an address, in any case, is that of a program and not of a person: a
/// mail server, a list server, a list's `owner-`, `-owner` or `-request` address, bounces, or "no
/// reply". "+" and what follows it do not count. False for an empty address.
bool is_machine_address(std::string_view address);

/// Why courtesy forbids a reply to the message: a short phrase that never changes, such as
/// "List-Id", for the first reason of several. Empty if a reply may be sent.
///
/// Needs the message's `courtesy` facts. Asks the panel for the mailbox's names only if the message
/// itself gives no reason; throws `PanelFailure` if a query fails.
std::string courtesy_objection(PanelDatabase& database, const MailboxRef& mailbox,
                               const IncomingMessage& message);

/// Like `courtesy_objection`, but only for the reasons that the message itself gives.
std::string courtesy_objection_of_header(const IncomingMessage& message);
