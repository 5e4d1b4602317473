#ifndef AUTORESPONDER_MAILBOX_H
#define AUTORESPONDER_MAILBOX_H

#include <optional>
#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/panel_database.h"

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

/// Escapes both halves; without memory the run ends with its diagnostic and status 0.
EscapedRecipient escape_recipient(const IncomingMessage& message);

/// Both halves again, as the server reads them.
EscapedRecipient for_server(PanelDatabase& database, const IncomingMessage& message,
                            EscapedRecipient recipient);

/// The ways in which an address can name a mailbox, in the order in which they are tried.
enum class MailboxLookup { kMailName, kAlias, kDomainAlias, kAliasAndDomainAlias };

struct FoundMailbox {
  MailboxRef mailbox;
  MailboxLookup lookup;  ///< the first that matched
};

/// The mailbox that the recipient's address names, or nothing. A failing query stops the engine.
std::optional<FoundMailbox> find_mailbox(PanelDatabase& database,
                                         const EscapedRecipient& recipient);

/// The same mailbox. A failing query or an unknown address ends the run with its diagnostic and
/// status 0.
MailboxRef resolve_mailbox(PanelDatabase& database, const EscapedRecipient& recipient,
                           const IncomingMessage& message);

#endif
