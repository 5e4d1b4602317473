#include "autoresponder/engine/responder.h"

#include <optional>

#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/rule.h"
#include "support/base/diagnose.h"

void run_responder(const IncomingMessage& message, const Switches& switches,
                   const EffectsMaker& make_effects) {
  EscapedRecipient recipient = escape_recipient(message);
  PanelDatabase database;
  const auto found = find_mailbox(database, message, std::move(recipient));
  if (!found) {
    diagnose({"autoresponder: Mailname not found: ", message.recipient_mailname, "@",
              message.recipient_domain});
    return;
  }
  const std::unique_ptr<Effects> effects = make_effects(database);
  Rows rules = database.Query(rules_query(found->mailbox.id));
  while (const Row row = rules.Next()) {
    const ResponderRule rule(row);
    const bool answers = is_active(rule) && rule_fires(rule, message);
    if (answers) answer(database, rule, found->mailbox, message, switches, *effects);
  }
}
