#pragma once

#include <set>
#include <string>
#include <string_view>

#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"

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
