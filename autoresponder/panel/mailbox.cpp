#include "autoresponder/panel/mailbox.h"

#include <utility>

#include "mime/utf8.h"
#include "support/base/letter_case.h"
#include "support/base/owned.h"
#include "support/base/text.h"
#include "support/idn.h"

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

std::string_view local_part_of(std::string_view address) {
  return address.substr(0, address.rfind('@'));
}

// Without a trailing dot.
std::string_view domain_of(std::string_view address) {
  const size_t at = address.rfind('@');
  std::string_view domain = at == std::string_view::npos ? "" : address.substr(at + 1);
  if (!domain.empty() && domain.back() == '.') domain.remove_suffix(1);
  return domain;
}

bool is_ascii(std::string_view text) {
  return ascii_length(text) == text.size();
}

// Adds a domain in its ASCII and its UTF-8 form, if it has both. `domain`: of the panel or of the
// delivery. Domains from the message are then compared unconverted: this process has rights, and
// libidn must not get a stranger's text in it.
void add_domain(std::set<std::string>& domains, std::string_view domain) {
  const std::string lower = lower_case(domain);
  const bool has_utf8_form = lower.find("xn--") != std::string::npos;
  domains.insert(lower);
  if (is_ascii(lower) && !has_utf8_form) return;
  const OwnedText other(is_ascii(lower) ? idn_toutf8(lower.c_str()) : idn_toascii(lower.c_str()));
  if (other) domains.insert(lower_case(other.get()));
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

MailboxNames::MailboxNames(PanelDatabase& database, const MailboxRef& mailbox,
                           std::string_view delivered_to)
    : local_parts_{lower_case(mailbox.mail_name)},
      delivered_local_part_(lower_case(local_part_of(delivered_to))) {
  add_domain(domains_, mailbox.domain_name);
  add_domain(delivered_domains_, domain_of(delivered_to));
  Rows aliases =
      database.Query(joined({"select alias from mail_aliases where mn_id=", mailbox.id}));
  while (const Row row = aliases.Next()) local_parts_.insert(lower_case(text_or(*row, "")));
  Rows domains = database.Query(
      joined({"select da.name from domainaliases da, mail m where da.dom_id=m.dom_id and m.id=",
              mailbox.id, " and da.mail='true'"}));
  while (const Row row = domains.Next()) add_domain(domains_, text_or(*row, ""));
}

bool MailboxNames::Include(std::string_view address) const {
  const std::string local_part = lower_case(local_part_of(address));
  const bool is_delivered = local_part == delivered_local_part_;
  const bool is_name = local_parts_.count(local_part) > 0;
  if (!is_delivered && !is_name) return false;
  const std::string domain = lower_case(domain_of(address));
  return (is_delivered && delivered_domains_.count(domain) > 0) ||
         (is_name && domains_.count(domain) > 0);
}
