#include "explain/listing.h"

#include <utility>

#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/reply/forwarding.h"
#include "autoresponder/run/configuration.h"
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

}  // namespace

void list(Listing& listing) {
  load_conf_paths();
  const Switches switches = read_switches();
  IncomingMessage message;
  message.SetRecipient(listing.address);
  try {
    EscapedRecipient recipient = escape_recipient(message);
    PanelDatabase database = PanelDatabase::ReadOnly();
    listing.mailbox = find_mailbox(database, message, std::move(recipient));
    if (listing.mailbox) list_rules(database, switches, listing);
  } catch (const PanelFailure& failure) {
    listing.trouble = failure.what();
  }
}
