#include "autoresponder/mailbox.h"

#include <array>
#include <iostream>

#include "autoresponder/temporary_files.h"

namespace {

constexpr size_t kLookups = 4;

std::array<std::string, kLookups> lookups(const EscapedRecipient& recipient) {
  const std::string domain = recipient.domain.get();
  const std::string mail_name = recipient.mail_name.get();
  return {
      "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and d.name='" +
          domain + "' and m.mail_name='" + mail_name + "'",
      "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where "
      "m.id=ma.mn_id and m.dom_id=d.id and d.name='" +
          domain + "' and ma.alias='" + mail_name + "'",
      "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where "
      "m.dom_id=d.id and d.id=da.dom_id and da.name='" +
          domain + "' and m.mail_name='" + mail_name + "' and da.mail='true'",
      "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da "
      "where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='" +
          domain + "' and ma.alias='" + mail_name + "' and da.mail='true'",
  };
}

// The rows of the first lookup that has any, else of the last one.
Rows look_up(PanelDatabase& database, const EscapedRecipient& recipient) {
  Rows rows(nullptr);
  for (const std::string& query : lookups(recipient)) {
    rows = database.Query(query, "autoresponder: Unable to query: ");
    if (!rows.IsEmpty()) break;
  }
  return rows;
}

}  // namespace

EscapedRecipient escape_recipient(const IncomingMessage& message) {
  EscapedRecipient recipient{escape_without_connection(message.recipient_domain),
                             escape_without_connection(message.recipient_mailname)};
  if (!recipient.domain || !recipient.mail_name) {
    std::cerr << "autoresponder: Unable to alloc memory" << std::endl;
    cleanup_and_exit();
  }
  return recipient;
}

MailboxRef resolve_mailbox(PanelDatabase& database, const EscapedRecipient& recipient,
                           const IncomingMessage& message) {
  Rows rows = look_up(database, recipient);
  const Row row = rows.Next();
  if (row == nullptr) {
    std::cerr << "autoresponder: Mailname not found: " << message.recipient_mailname << "@"
              << message.recipient_domain << std::endl;
    cleanup_and_exit();
  }
  return {text_or(row[0], ""), text_or(row[1], ""), text_or(row[2], "")};
}
