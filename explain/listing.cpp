#include "explain/listing.h"

#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/reply/forwarding.h"
#include "autoresponder/run/configuration.h"
#include "explain/check/formatting.h"
#include "support/conf.h"

namespace {

std::vector<AnsweredSender> answered_by(PanelDatabase& database, const char* rule_id) {
  enum { kAddress, kReplies, kTime };
  std::vector<AnsweredSender> senders;
  Rows rows = database.Query(answered_today_query(rule_id));
  while (const Row row = rows.Next()) {
    senders.push_back(
        {text_or(row[kAddress], ""), text_or(row[kReplies], "0"), text_or(row[kTime], "")});
  }
  return senders;
}

void list_rules(PanelDatabase& database, const Switches& switches, Listing& listing) {
  const MailboxRef& mailbox = listing.mailbox->mailbox;
  listing.rows = database.Query(rules_query(mailbox.id));
  while (const Row row = listing.rows->Next()) {
    ListedRule& listed = listing.rules.emplace_back();
    listed.rule = ResponderRule(row);
    for (auto& addresses : forwarding_rows(database, listed.rule.id)) {
      if (addresses) listed.forwarding.push_back(*std::move(addresses));
    }
    find_attachments(database, listed.rule.id, mailbox, switches.repairs, listed.attachments);
    listed.answered = answered_by(database, listed.rule.id);
  }
}

void list_mailbox(PanelDatabase& database, const Switches& switches, Listing& listing) {
  IncomingMessage message;
  message.SetRecipient(listing.address);
  listing.mailbox = find_mailbox(database, message, escape_recipient(message));
  if (listing.mailbox) list_rules(database, switches, listing);
}

std::vector<std::string> addresses_of(const std::string& domain, PanelDatabase& database) {
  enum { kName, kDomain };
  const EscapedText name = database.Escape(domain);
  std::vector<std::string> addresses;
  Rows rows = database.Query(
      formatted("select distinct m.mail_name, d.name from mail m, domains d, mail_resp r where "
                "m.dom_id=d.id and r.mn_id=m.id and (d.name='{0}' or d.id in (select dom_id from "
                "domainaliases where name='{0}')) order by m.mail_name",
                name.view()));
  while (const Row row = rows.Next()) {
    addresses.push_back(text_or(row[kName], "") + std::string("@") + text_or(row[kDomain], ""));
  }
  return addresses;
}

void list_all(const std::string& asked, const Switches& switches, Listings& listings) {
  PanelDatabase database = PanelDatabase::ReadOnly();
  std::vector<std::string> addresses;
  if (asked.find('@') == std::string::npos) addresses = addresses_of(asked, database);
  if (addresses.empty()) addresses.push_back(asked);
  listings.clear();
  for (const std::string& address : addresses) {
    listings.emplace_back().address = address;
    list_mailbox(database, switches, listings.back());
  }
}

void look(const std::optional<std::string>& asked, Today& today) {
  enum { kName, kDomain, kRule, kSenders, kReplies, kRefused, kIsFull };
  PanelDatabase database = PanelDatabase::ReadOnly();
  std::string mailbox_id;
  if (asked) {
    IncomingMessage message;
    message.SetRecipient(*asked);
    const auto found = find_mailbox(database, message, escape_recipient(message));
    today.has_mailbox = found.has_value();
    if (!found) return;
    mailbox_id = found->mailbox.id;
  }
  Rows rows = database.Query(replies_today_query(mailbox_id));
  while (const Row row = rows.Next()) {
    today.rules.push_back({text_or(row[kName], "") + std::string("@") + text_or(row[kDomain], ""),
                           text_or(row[kRule], ""), text_or(row[kSenders], ""),
                           text_or(row[kReplies], ""), text_or(row[kRefused], ""),
                           text_or(row[kIsFull], "") == std::string("1")});
  }
}

}  // namespace

Listings list(const std::string& asked) {
  load_conf_paths();
  const Switches switches = read_switches();
  Listings listings(1);
  listings[0].address = asked;
  try {
    list_all(asked, switches, listings);
  } catch (const PanelFailure& failure) {
    listings.back().trouble = failure.what();
  }
  return listings;
}

Today replies_today(const std::optional<std::string>& asked) {
  load_conf_paths();
  Today today;
  try {
    look(asked, today);
  } catch (const PanelFailure& failure) {
    today.trouble = failure.what();
  }
  return today;
}
