#include "autoresponder/panel/mailbox.h"

#include <utility>

#include "support/base/text.h"

namespace {

// The columns that each lookup selects.
enum Column { kId, kMailName, kDomainName };

// One lookup: the parts of its statement before, between and after the escaped domain and mail
// name.
struct Lookup {
  MailboxLookup name;
  const char* domain_is;
  const char* mail_name_is;
  const char* end;
};

// The most direct lookup first.
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
  if (recipient.domain && recipient.mail_name) return recipient;
  throw PanelFailure("autoresponder: Unable to alloc memory", 0);
}

std::optional<FoundMailbox> find_mailbox(PanelDatabase& database, const IncomingMessage& message,
                                         EscapedRecipient escaped) {
  const EscapedRecipient recipient{
      database.ForServer(message.recipient_domain, std::move(escaped.domain)),
      database.ForServer(message.recipient_mailname, std::move(escaped.mail_name))};
  for (const Lookup& lookup : kLookups) {
    Rows rows = database.Query(query_of(lookup, recipient), "autoresponder: Unable to query: ");
    const Row row = rows.Next();
    if (row == nullptr) continue;
    return FoundMailbox{
        {text_or(row[kId], ""), text_or(row[kMailName], ""), text_or(row[kDomainName], "")},
        lookup.name};
  }
  return std::nullopt;
}
