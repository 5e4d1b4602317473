#pragma once

#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// A mailbox, as the database has it.
struct MailboxRef {
  std::string id;           ///< a number; used in statements without quotes
  std::string mail_name;    ///< the mailbox's own, even if an alias led to it
  std::string domain_name;  ///< the domain's own, even if an alias led to it
};

/// The mail name and domain of the recipient's address, escaped for SQL literals.
struct EscapedRecipient {
  EscapedText domain;
  EscapedText mail_name;
};

/// Escapes the recipient's mail name and domain. Throws `PanelFailure` if memory runs out.
EscapedRecipient escape_recipient(const IncomingMessage& message);

/// The ways in which an address can name a mailbox, in the order in which they are tried.
enum class MailboxLookup { kMailName, kAlias, kDomainAlias, kAliasAndDomainAlias };

/// A mailbox, and how it was found.
struct FoundMailbox {
  MailboxRef mailbox;
  MailboxLookup lookup;  ///< the first one that found it
};

/// The mailbox of the message's recipient; nothing if there is none. `escaped`: the recipient's
/// name and domain, escaped. Throws `PanelFailure` if a query fails.
std::optional<FoundMailbox> find_mailbox(PanelDatabase& database, const IncomingMessage& message,
                                         EscapedRecipient escaped);
