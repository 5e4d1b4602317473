#include "autoresponder/attachments.h"

#include <sys/stat.h>

#include "autoresponder/temporary_files.h"
#include "mime/header_encode.h"
#include "support/base/diagnose.h"
#include "support/conf.h"
#include "support/strings.h"

namespace {

std::string store_directory(const MailboxRef& mailbox) {
  return std::string(QMAIL_MAILNAMES_D) + "/" + mailbox.domain_name + "/" + mailbox.mail_name +
         "/@attachments";
}

// The shell steps for one file: boundary and headers, then its base64 lines without the first and
// last line of uuencode. Kept: the blank line at the end goes to the command's own output.
void add_steps(ShellCommand& command, const Attachment& attachment, const std::string& boundary) {
  command.Text("echo '--").Value(boundary).Text("\n");
  command.Text("Content-Type: application/octet-stream\n");
  command.Text("Content-Transfer-Encoding: base64\n");
  command.Text("Content-Disposition: attachment;\n\tfilename=\"");
  command.Value(header_encode(attachment.name));
  command.Text("\"\n' >>").Text(response_file_path).Text(" ; ");
  command.Text("uuencode -m -- '").Value(attachment.path).Text("' '").Value(attachment.name);
  command.Text("' | sed -e '1d;$d' >>").Text(response_file_path).Text(" ; echo ; ");
}

// A pipe would be waited for, and a device may have no end. A directory is read as empty.
bool has_an_end(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

void look_for(const std::string& filename, const std::string& store, AttachmentList& attachments) {
  std::string untrimmed = filename;
  const std::string name = str_trim(untrimmed.data());
  const std::string path = store + "/" + name;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    attachments.missing.push_back(name);
  } else if (has_an_end(status)) {
    attachments.found.push_back({name, path, status.st_size});
  } else {
    diagnose({"autoresponder: no plain file, attached empty: ", path});
    attachments.found.push_back({name, "/dev/null", 0});
  }
}

// More than the files can become in base64. One that grows meanwhile, or was replaced by something
// without an end, neither fills the disk nor holds up the delivery for ever.
WriterLimits limits_for(const std::vector<Attachment>& found) {
  WriterLimits limits{uint64_t{16} << 20, std::chrono::minutes(10)};
  struct stat status {};
  if (stat(response_file_path, &status) == 0) {
    limits.file_size += static_cast<uint64_t>(status.st_size);
  }
  for (const Attachment& attachment : found) {
    limits.file_size += 2 * static_cast<uint64_t>(attachment.size) + 4096;
  }
  return limits;
}

}  // namespace

AttachmentList find_attachments(PanelDatabase& database, const std::string& rule_id,
                                const MailboxRef& mailbox) {
  AttachmentList attachments;
  const std::string store = store_directory(mailbox);
  Rows rows = database.Query("select filename from resp_attach where rn_id=" + rule_id);
  while (const Row row = rows.Next()) {
    const std::string filename = text_or(row[0], "");
    if (!filename.empty()) look_for(filename, store, attachments);
  }
  return attachments;
}

ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary) {
  ShellCommand command;
  for (const Attachment& attachment : found) add_steps(command, attachment, boundary);
  command.Text("echo '--").Value(boundary).Text("--' >>");
  return command.Text(response_file_path).Text(" ; ");
}

void append_attachments(const std::vector<Attachment>& found, const std::string& boundary) {
  if (found.empty()) return;
  hand_to_shell(attachment_command(found, boundary), ShellUse::kWriteFile, limits_for(found));
}
