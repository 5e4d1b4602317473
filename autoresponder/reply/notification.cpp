#include "autoresponder/reply/notification.h"

#include <utility>

#include "autoresponder/reply/pipe_stream.h"
#include "autoresponder/reply/sendmail.h"
#include "support/base/diagnose.h"
#include "support/base/joined.h"
#include "support/get.h"

namespace {

constexpr const char* kLastResortSender = "root@localhost";

// The columns that the query for the owner selects.
enum Column { kEmail, kPersonalName, kLogin };

// A notification to the domain's owner, without a sender. Nothing if the owner has no address, or
// is unknown, which is reported.
std::optional<Notification> find_owner(PanelDatabase& database, const std::string& domain) {
  EscapedText escaped = escape_without_connection(domain);
  if (!escaped) return std::nullopt;
  escaped = database.ForServer(domain, std::move(escaped));
  std::optional<Rows> rows = database.TryQuery(
      joined({"select c.email, c.pname, c.login from clients c, domains d where d.cl_id=c.id and "
              "d.name='",
              escaped.view(), "'"}));
  if (!rows) {
    diagnose({"Unable to define client email and personal name :", database.error()});
    return std::nullopt;
  }
  const Row row = rows->Next();
  if (row == nullptr) {
    diagnose({"This client does not exist :", database.error()});
    return std::nullopt;
  }
  Notification owner{"", text_or(row[kEmail], ""), text_or(row[kPersonalName], "")};
  if (owner.owner_email.empty()) return std::nullopt;
  if (owner.owner_name.empty()) owner.owner_name = text_or(row[kLogin], "");
  return owner;
}

std::string setting(PanelDatabase& database, const char* name) {
  return text_or(get_misc_param(name, database.handle()), "");
}

std::string notification_sender(PanelDatabase& database) {
  std::string admin = setting(database, "admin_email");
  if (!admin.empty()) return admin;
  const std::string host = setting(database, "FullHostName");
  return host.empty() ? kLastResortSender : "root@" + host;
}

// Writes the mail; flushes each line into the pipe.
//
// Kept: no line end after a Reply-To, so that From follows on the same line. The repair of the
// notification adds it: qmail cannot parse the line, and the mail is lost.
void write_notification(std::ostream& mail, const Notification& notification, const char* reply_to,
                        const IncomingMessage& message, const std::vector<std::string>& missing,
                        const Switches& switches) {
  if (*reply_to != '\0') mail << "Reply-To: " << reply_to << (switches.repairs ? "\n" : "");
  mail << "From: " << notification.sender << std::endl;
  mail << "To: " << notification.owner_email << std::endl;
  mail << "CC: " << std::endl;
  mail << "Subject: kem notification (files missing in attachments repository). " << std::endl;
  mail << "Content-Type: text/plain; charset=utf-8" << std::endl;
  mail << "Content-Disposition: inline" << std::endl;
  mail << "Content-Transfer-Encoding: 8bit" << std::endl;
  mail << std::endl << std::endl;
  mail << "Notification for kem client '" << notification.owner_name << "'." << std::endl
       << std::endl;
  mail << "The following files are missing in the attachment repository" << std::endl;
  mail << "for the mailname '" << message.recipient_mailname << "' on domain '"
       << message.recipient_domain << "':" << std::endl;
  for (const std::string& name : missing) mail << name << '\n';
  mail << std::endl;
}

}  // namespace

std::optional<Notification> address_notification(PanelDatabase& database,
                                                 const IncomingMessage& message) {
  std::optional<Notification> notification = find_owner(database, message.recipient_domain);
  if (notification) notification->sender = notification_sender(database);
  return notification;
}

ShellCommand notification_command(const Notification& notification, const Switches& switches) {
  ShellCommand command(switches);
  command.Text(sendmail_path()).Text(" -f ").Quoted(notification.sender);
  return command.Text(" ").Address(notification.owner_email);
}

void send_notification(const Notification& notification, const char* reply_to,
                       const IncomingMessage& message, const std::vector<std::string>& missing,
                       const Switches& switches) {
  opipestream mail(notification_command(notification, switches));
  if (mail.refused()) return;
  if (mail.fail()) {
    diagnose({"Unable to send mail with notify of not exist attachment."});
    return;
  }
  write_notification(mail, notification, reply_to, message, missing, switches);
}
