#include "autoresponder/mailbox.h"

#include <utility>

#include "autoresponder/temporary_files.h"
#include "support/base/diagnose.h"
#include "support/base/joined.h"

namespace {

// The texts before, between and behind the escaped domain and mail name, most direct lookup first.
struct Lookup {
  MailboxLookup name;
  const char* domain_is;
  const char* mail_name_is;
  const char* end;
};

constexpr Lookup kLookups[] = {
    {MailboxLookup::kMailName,
     "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and d.name='",
     "' and m.mail_name='", "'"},
    {MailboxLookup::kAlias,
     "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where "
     "m.id=ma.mn_id and m.dom_id=d.id and d.name='",
     "' and ma.alias='", "'"},
    {MailboxLookup::kDomainAlias,
     "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where "
     "m.dom_id=d.id and d.id=da.dom_id and da.name='",
     "' and m.mail_name='", "' and da.mail='true'"},
    {MailboxLookup::kAliasAndDomainAlias,
     "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da "
     "where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='",
     "' and ma.alias='", "' and da.mail='true'"},
};

std::string query_of(const Lookup& lookup, const EscapedRecipient& recipient) {
  return joined({lookup.domain_is, recipient.domain.view(), lookup.mail_name_is,
                 recipient.mail_name.view(), lookup.end});
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

EscapedRecipient for_server(PanelDatabase& database, const IncomingMessage& message,
                            EscapedRecipient recipient) {
  return {database.ForServer(message.recipient_domain, std::move(recipient.domain)),
          database.ForServer(message.recipient_mailname, std::move(recipient.mail_name))};
}

std::optional<FoundMailbox> find_mailbox(PanelDatabase& database,
                                         const EscapedRecipient& recipient) {
  for (const Lookup& lookup : kLookups) {
    Rows rows = database.Query(query_of(lookup, recipient), "autoresponder: Unable to query: ");
    const Row row = rows.Next();
    if (row == nullptr) continue;
    return FoundMailbox{{text_or(row[0], ""), text_or(row[1], ""), text_or(row[2], "")},
                        lookup.name};
  }
  return std::nullopt;
}

MailboxRef resolve_mailbox(PanelDatabase& database, const EscapedRecipient& recipient,
                           const IncomingMessage& message) {
  std::optional<FoundMailbox> found = find_mailbox(database, recipient);
  if (!found) {
    diagnose({"autoresponder: Mailname not found: ", message.recipient_mailname, "@",
              message.recipient_domain});
    cleanup_and_exit();
  }
  return std::move(found->mailbox);
}
