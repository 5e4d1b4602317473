#include "autoresponder/attachments.h"

#include <sys/stat.h>

#include "autoresponder/notification.h"
#include "autoresponder/temporary_files.h"
#include "mime/header_encode.h"
#include "support/conf.h"
#include "support/strings.h"

namespace {

std::string store_directory(const MailboxRef& mailbox) {
  return std::string(QMAIL_MAILNAMES_D) + "/" + mailbox.domain_name + "/" + mailbox.mail_name +
         "/@attachments";
}

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

// The shell steps for one file: boundary and headers, then its base64 lines without the first and
// last line of uuencode. Kept: the blank line at the end goes to the command's own output.
void add_steps(ShellCommand& command, const std::string& path, const std::string& name,
               const std::string& boundary) {
  command.Text("echo '--").Value(boundary).Text("\n");
  command.Text("Content-Type: application/octet-stream\n");
  command.Text("Content-Transfer-Encoding: base64\n");
  command.Text("Content-Disposition: attachment;\n\tfilename=\"");
  command.Value(header_encode(name)).Text("\"\n' >>").Text(response_file_path).Text(" ; ");
  command.Text("uuencode -m -- '").Value(path).Text("' '").Value(name);
  command.Text("' | sed -e '1d;$d' >>").Text(response_file_path).Text(" ; echo ; ");
}

void add_attachment(Attachments& attachments, const std::string& filename, const std::string& store,
                    const std::string& boundary) {
  std::string untrimmed = filename;
  const std::string name = str_trim(untrimmed.data());
  const std::string path = store + "/" + name;
  if (!exists(path)) {
    attachments.missing += name + "\n";
    return;
  }
  ++attachments.count;
  add_steps(attachments.command, path, name, boundary);
}

}  // namespace

Attachments collect_attachments(PanelDatabase& database, const ResponderRule& rule,
                                const MailboxRef& mailbox, const IncomingMessage& message,
                                const std::string& boundary) {
  Attachments attachments;
  const std::string store = store_directory(mailbox);
  {
    Rows rows = database.Query("select filename from resp_attach where rn_id=" + rule.id);
    while (const Row row = rows.Next()) {
      const std::string filename = text_or(row[0], "");
      if (!filename.empty()) add_attachment(attachments, filename, store, boundary);
    }
  }
  if (!attachments.missing.empty()) {
    notify_owner(database, rule.reply_to, message, attachments.missing);
  }
  return attachments;
}

void append_attachments(const Attachments& attachments, const std::string& boundary) {
  if (attachments.count == 0) return;
  ShellCommand command = attachments.command;
  command.Text("echo '--").Value(boundary).Text("--' >>").Text(response_file_path).Text(" ; ");
  hand_to_shell(command, ShellUse::kWriteFile);
}
