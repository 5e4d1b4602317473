#ifndef AUTORESPONDER_PANEL_MAILBOX_H
#define AUTORESPONDER_PANEL_MAILBOX_H

#include <optional>
#include <string>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// The mailbox that received the message, as the database has it.
struct MailboxRef {
  std::string id;           ///< goes unquoted into statements
  std::string mail_name;    ///< its own, not the alias through which it was reached
  std::string domain_name;  ///< likewise
};

/// The halves of the recipient's address, escaped for SQL literals.
struct EscapedRecipient {
  EscapedText domain;
  EscapedText mail_name;
};

/// Escapes both halves; throws `PanelFailure` without memory.
EscapedRecipient escape_recipient(const IncomingMessage& message);

/// The ways in which an address can name a mailbox, in the order in which they are tried.
enum class MailboxLookup { kMailName, kAlias, kDomainAlias, kAliasAndDomainAlias };

struct FoundMailbox {
  MailboxRef mailbox;
  MailboxLookup lookup;  ///< the first that matched
};

/// The mailbox that the message's recipient names, or nothing. `escaped`: the recipient. A failing
/// query throws `PanelFailure`.
std::optional<FoundMailbox> find_mailbox(PanelDatabase& database, const IncomingMessage& message,
                                         EscapedRecipient escaped);

#endif
