#include "autoresponder/engine/courtesy.h"

#include <algorithm>

#include "autoresponder/engine/machine_address.h"
#include "autoresponder/panel/mailbox_names.h"

namespace {

// qmail sends the bounce of a bounce from "#@[]".
bool has_null_sender(const IncomingMessage& message) {
  const auto& sender = message.envelope_sender;
  return (sender && (sender->empty() || *sender == "#@[]")) ||
         message.courtesy.has_null_return_path;
}

// The envelope sender, or the Return-Path if the mail server did not tell it.
const std::string& envelope_sender(const IncomingMessage& message) {
  return message.envelope_sender ? *message.envelope_sender : message.courtesy.return_path;
}

bool is_from_machine(const IncomingMessage& message) {
  return is_machine_address(message.sender) || is_machine_address(envelope_sender(message));
}

bool is_from(const MailboxNames& names, const IncomingMessage& message) {
  return names.Include(message.sender) || names.Include(envelope_sender(message));
}

bool is_to(const MailboxNames& names, const IncomingMessage& message) {
  const auto& addressees = message.courtesy.addressees;
  return std::any_of(addressees.begin(), addressees.end(),
                     [&names](const std::string& address) { return names.Include(address); });
}

}  // namespace

std::string courtesy_objection_of_header(const IncomingMessage& message) {
  const CourtesyFacts& facts = message.courtesy;
  if (has_null_sender(message)) return "null sender";
  if (facts.is_auto_submitted) return "Auto-Submitted";
  if (!facts.list_field.empty()) return facts.list_field;
  if (facts.is_bulk) return "Precedence";
  if (facts.suppresses_replies) return "X-Auto-Response-Suppress";
  if (facts.is_spam) return "spam";
  return is_from_machine(message) ? "sender is a machine" : "";
}

std::string courtesy_objection(PanelDatabase& database, const MailboxRef& mailbox,
                               const IncomingMessage& message) {
  std::string objection = courtesy_objection_of_header(message);
  if (!objection.empty()) return objection;
  const MailboxNames names(database, mailbox, message.recipient);
  if (is_from(names, message)) return "from the mailbox itself";
  return is_to(names, message) ? "" : "not addressed to the mailbox";
}
