#include "explain/today.h"

#include "autoresponder/panel/frequency_limiter.h"
#include "autoresponder/panel/mailbox.h"
#include "support/conf.h"

namespace {

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
