#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

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

/// The addresses of a mailbox: its own name and its aliases, each at its domain and at the aliases
/// of the domain that take mail; and the address that a message was delivered to, which led to it.
class MailboxNames {
 public:
  /// Reads the names from the database. `delivered_to`: the address of the delivery. Throws
  /// `PanelFailure` if a query fails.
  MailboxNames(PanelDatabase& database, const MailboxRef& mailbox, std::string_view delivered_to);

  /// Whether `address` is one of them. A-Z match in any case. A domain matches in its ASCII form,
  /// and in UTF-8 as libidn writes it.
  bool Include(std::string_view address) const;

 private:
  std::set<std::string> local_parts_;
  std::set<std::string> domains_;
  std::string delivered_local_part_;
  std::set<std::string> delivered_domains_;
};
