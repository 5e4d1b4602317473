#include "autoresponder/engine/responder.h"

#include <utility>

#include "support/base/text.h"

namespace {

const char* diagnostic_of(Unsent unsent) {
  switch (unsent) {
    case Unsent::kUnwritable:
      return "autoresponder: Unable to write the reply to ";
    case Unsent::kNotWhole:
      return "autoresponder: not sent, because its attachments are not whole: ";
    case Unsent::kFileReplaced:
      break;
  }
  return "autoresponder: not sent, because its file was removed: ";
}

void report_answer(const AnswerFacts& facts) {
  if (!facts.objection.empty()) {
    diagnose({"autoresponder: no reply, courtesy: ", facts.objection});
  }
  if (!facts.left_out_reply_to.empty()) {
    diagnose({"autoresponder: left out a Reply-To that the mail server cannot parse: ",
              in_one_line(facts.left_out_reply_to)});
  }
  if (facts.unsent) diagnose({diagnostic_of(*facts.unsent), facts.reply_path});
}

}  // namespace

void find_rules(PanelDatabase& database, const IncomingMessage& message, EscapedRecipient recipient,
                const Repairs& repairs, MailboxRules& found) {
  if (repairs.characters) database.SpeakAllCharacters();
  found.mailbox = find_mailbox(database, message, std::move(recipient));
  if (!found.mailbox) return;
  found.rows = database.Query(rules_query(found.mailbox->mailbox.id));
  found.rules = read_rules(*found.rows);
  found.triggers = find_triggers(found.rules, message);
}

void run_responder(const Delivery& delivery, Effects& effects, MYSQL* (*connect)()) {
  const IncomingMessage& message = delivery.message;
  EscapedRecipient recipient = escape_recipient(message);
  PanelDatabase database(connect);
  MailboxRules found;
  find_rules(database, message, std::move(recipient), delivery.switches.repairs, found);
  if (!found.mailbox) {
    diagnose({"autoresponder: Mailname not found: ", message.recipient_mailname, "@",
              message.recipient_domain});
  }
  for (size_t i = 0; i < found.rules.size(); ++i) {
    if (!found.triggers[i].fires) continue;
    AnswerFacts facts;
    answer(database, found.rules[i], found.mailbox->mailbox, delivery, effects, facts);
    report_answer(facts);
  }
}
