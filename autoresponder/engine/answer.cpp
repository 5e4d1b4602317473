#include "autoresponder/engine/answer.h"

#include <optional>

#include "autoresponder/reply/delivery.h"
#include "autoresponder/reply/forwarding.h"
#include "autoresponder/reply/reply_text.h"

namespace {

// The parameters that the steps of one answer share.
struct Answer {
  PanelDatabase& database;
  const ResponderRule& rule;
  const MailboxRef& mailbox;
  const IncomingMessage& message;
  const Switches& switches;
  Effects& effects;
};

void forward(const Answer& a) {
  auto addresses = forwarding_addresses(a.database, a.rule.id);
  // Kept: rows without any address start the command too. The repair of options leaves out what
  // sendmail would read as one, and starts nothing for nobody.
  if (addresses && a.switches.repairs) addresses = without_options(*addresses);
  if (!addresses) return;
  a.effects.Forward(*addresses,
                    forwarding_command(a.message, *addresses, a.effects.SpoolPath(), a.switches));
}

AttachmentList collect_attachments(const Answer& a) {
  AttachmentList attachments = find_attachments(a.database, a.rule.id, a.mailbox, a.switches);
  a.effects.Attachments(attachments);
  if (attachments.missing.empty()) return attachments;
  const auto notification = address_notification(a.database, a.message);
  if (notification) a.effects.Notify(*notification, a.rule, attachments.missing);
  return attachments;
}

// Kept: a reply whose attachments are cut or missing is sent. The repair of whole mails does not
// send it; the result is false then.
bool append(const Answer& a, const std::vector<Attachment>& found, const std::string& boundary,
            const ResponseFile& reply) {
  const bool succeeded = a.effects.Append(attachment_command(found, boundary, reply, a.switches),
                                          attachment_limits(found, reply));
  return !a.switches.repairs || (succeeded && are_unchanged(found));
}

// Replaces a reply that exceeds the mail server's limit by a short notice.
//
// Kept: what the disk took of the notice is sent. The repair of whole mails does not send it; the
// result is false then.
bool limit_size(const Answer& a, ResponseFile& reply) {
  BuiltReply built{reply.Size(), size_limit(), false, reply_subject(a.rule, a.message)};
  built.is_replaced = exceeds(built.size, built.limit);
  if (built.is_replaced) {
    const bool is_whole = replace_by_notice(reply, a.rule, a.message);
    if (a.switches.repairs && !is_whole) return false;
    built.subject = notice_subject(a.message);
  }
  a.effects.Built(built, reply);
  return true;
}

void send_reply(const Answer& a) {
  const std::string boundary = draw_boundary();
  ResponseFile reply = a.effects.CreateResponseFile();
  const std::vector<Attachment> found = collect_attachments(a).found;
  const std::string from = a.effects.AsciiForm(a.message.recipient);
  if (!write_reply_text(reply, a.rule, a.message, from, found.empty() ? "" : boundary)) {
    a.effects.GiveUp(reply);
    return;
  }
  if (!found.empty() && !append(a, found, boundary, reply)) {
    a.effects.LeaveUnsent(reply);
    return;
  }
  if (!limit_size(a, reply)) {
    a.effects.GiveUp(reply);
    return;
  }
  a.effects.Deliver(delivery_command(from, a.message, reply, a.switches), reply);
}

}  // namespace

void answer(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
            const IncomingMessage& message, const Switches& switches, Effects& effects) {
  // Kept: control characters in a rule's texts reach the header, so that its owner can add lines to
  // it. The repair of lines replaces them by blanks.
  const RuleInOneLine in_one_line(rule);
  const ResponderRule& answering = switches.repairs ? in_one_line.rule() : rule;
  const Answer a{database, answering, mailbox, message, switches, effects};
  if (!effects.Count(rule)) return;
  forward(a);
  send_reply(a);
}
