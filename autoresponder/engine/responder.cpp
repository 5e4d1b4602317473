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
  Rows rows = database.Query(rules_query(found->mailbox.id));
  const std::vector<ResponderRule> rules = read_rules(rows);
  const std::vector<TriggerMatch> triggers = find_triggers(rules, message);
  for (size_t i = 0; i < rules.size(); ++i) {
    if (!triggers[i].fires) continue;
    answer(database, rules[i], found->mailbox, message, switches, *effects);
  }
}
