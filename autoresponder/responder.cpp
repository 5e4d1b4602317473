#include "autoresponder/responder.h"

#include <utility>

#include "autoresponder/forwarding.h"
#include "autoresponder/frequency_limiter.h"
#include "autoresponder/mailbox.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/reply.h"
#include "autoresponder/rule.h"
#include "support/libidn.h"

namespace {

bool concerns(const RuleCondition& rule, const IncomingMessage& message) {
  return is_active(rule) && rule_fires(rule, message);
}

void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const IncomingMessage& message) {
  load_libidn();  // the reply cannot do without; a run that ended there would be tried again
  if (!check_reply_frequency(database, message, rule.id, rule.ans_freq, rule.mem_limit)) return;
  forward_message(database, message, rule.id);
  send_reply(database, rule, mailbox, message);
}

}  // namespace

void run_responder(const IncomingMessage& message) {
  EscapedRecipient recipient = escape_recipient(message);
  PanelDatabase database;
  recipient = for_server(database, message, std::move(recipient));
  const MailboxRef mailbox = resolve_mailbox(database, recipient, message);
  Rows rules = database.Query(rules_query(mailbox.id));
  while (const Row row = rules.Next()) {
    if (concerns(RuleCondition(row), message)) {
      answer(database, rule_from_row(row), mailbox, message);
    }
  }
}
