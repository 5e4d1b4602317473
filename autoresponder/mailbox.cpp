#include "autoresponder/mailbox.h"

#include "autoresponder/temporary_files.h"
#include "support/diagnose.h"

namespace {

// The texts before, between and behind the escaped domain and mail name, most direct lookup first.
struct Lookup {
  const char* domain_is;
  const char* mail_name_is;
  const char* end;
};

constexpr Lookup kLookups[] = {
    {"select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and d.name='",
     "' and m.mail_name='", "'"},
    {"select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where "
     "m.id=ma.mn_id and m.dom_id=d.id and d.name='",
     "' and ma.alias='", "'"},
    {"select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where "
     "m.dom_id=d.id and d.id=da.dom_id and da.name='",
     "' and m.mail_name='", "' and da.mail='true'"},
    {"select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da "
     "where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='",
     "' and ma.alias='", "' and da.mail='true'"},
};

// The rows of the first lookup that has any, else of the last one.
Rows look_up(PanelDatabase& database, const EscapedRecipient& recipient) {
  Rows rows(nullptr);
  for (const Lookup& lookup : kLookups) {
    std::string query = lookup.domain_is;
    query.append(recipient.domain.get()).append(lookup.mail_name_is);
    query.append(recipient.mail_name.get()).append(lookup.end);
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
    diagnose({"autoresponder: Unable to alloc memory"});
    cleanup_and_exit();
  }
  return recipient;
}

MailboxRef resolve_mailbox(PanelDatabase& database, const EscapedRecipient& recipient,
                           const IncomingMessage& message) {
  Rows rows = look_up(database, recipient);
  const Row row = rows.Next();
  if (row == nullptr) {
    diagnose({"autoresponder: Mailname not found: ", message.recipient_mailname, "@",
              message.recipient_domain});
    cleanup_and_exit();
  }
  return {text_or(row[0], ""), text_or(row[1], ""), text_or(row[2], "")};
}
