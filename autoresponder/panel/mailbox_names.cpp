#include "autoresponder/panel/mailbox_names.h"

#include <algorithm>

#include "autoresponder/message/letter_case.h"
#include "support/base/joined.h"
#include "support/base/owned.h"
#include "support/idn.h"

namespace {

std::string_view local_part_of(std::string_view address) {
  return address.substr(0, address.rfind('@'));
}

std::string_view domain_of(std::string_view address) {
  const size_t at = address.rfind('@');
  return at == std::string_view::npos ? "" : address.substr(at + 1);
}

// A domain in the form in which it is compared. One that has no ASCII form stays as it is.
std::string comparable(std::string_view domain) {
  std::string lower = lower_case(domain);
  const bool is_ascii = std::all_of(lower.begin(), lower.end(),
                                    [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (is_ascii) return lower;
  const OwnedText ascii(idn_toascii(lower.c_str()));
  return ascii ? lower_case(ascii.get()) : lower;
}

}  // namespace

MailboxNames::MailboxNames(PanelDatabase& database, const MailboxRef& mailbox,
                           std::string_view delivered_to)
    : local_parts_{lower_case(mailbox.mail_name)},
      domains_{comparable(mailbox.domain_name)},
      delivered_local_part_(lower_case(local_part_of(delivered_to))),
      delivered_domain_(comparable(domain_of(delivered_to))) {
  Rows aliases =
      database.Query(joined({"select alias from mail_aliases where mn_id=", mailbox.id}));
  while (const Row row = aliases.Next()) local_parts_.insert(lower_case(text_or(*row, "")));
  Rows domains = database.Query(
      joined({"select da.name from domainaliases da, mail m where da.dom_id=m.dom_id and m.id=",
              mailbox.id, " and da.mail='true'"}));
  while (const Row row = domains.Next()) domains_.insert(comparable(text_or(*row, "")));
}

bool MailboxNames::Include(std::string_view address) const {
  const std::string local_part = lower_case(local_part_of(address));
  const bool is_delivered = local_part == delivered_local_part_;
  const bool is_name = local_parts_.count(local_part) > 0;
  if (!is_delivered && !is_name) return false;
  const std::string domain = comparable(domain_of(address));
  return (is_delivered && domain == delivered_domain_) || (is_name && domains_.count(domain) > 0);
}
