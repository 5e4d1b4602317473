#include "autoresponder/reply/attachments.h"

#include <sys/stat.h>

#include "mime/header_encode.h"
#include "support/base/diagnose.h"
#include "support/base/joined.h"
#include "support/conf.h"
#include "support/strings.h"

namespace {

std::string store_directory(const MailboxRef& mailbox) {
  return std::string(QMAIL_MAILNAMES_D) + "/" + mailbox.domain_name + "/" + mailbox.mail_name +
         "/@attachments";
}

// The headers of an attachment's MIME part, up to the file name.
constexpr const char* kPartHeaders =
    "Content-Type: application/octet-stream\n"
    "Content-Transfer-Encoding: base64\n"
    "Content-Disposition: attachment;\n\tfilename=\"";

// Adds the shell commands for one file: boundary and headers, then its base64 lines without the
// first and last line of uuencode.
//
// Kept: the final `echo` writes to standard output, not to the response file.
void add_steps(ShellCommand& command, const Attachment& attachment, const std::string& boundary,
               const ResponseFile& reply) {
  const std::string header_name = header_encode(attachment.name);
  command.Text("echo ").Quoted({"--", boundary, "\n", kPartHeaders, header_name, "\"\n"});
  command.Text(" >>").Text(reply.path()).Text(" ; uuencode -m -- ").Quoted(attachment.path);
  command.Text(" ").Quoted(attachment.name).Text(" | sed -e '1d;$d' >>").Text(reply.path());
  command.Text(" ; echo ; ");
}

// Whether reading the file comes to an end: a pipe may block, a device may be endless. Directories
// are read as empty.
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

}  // namespace

AttachmentList find_attachments(PanelDatabase& database, const char* rule_id,
                                const MailboxRef& mailbox) {
  AttachmentList attachments;
  const std::string store = store_directory(mailbox);
  Rows rows = database.Query(joined({"select filename from resp_attach where rn_id=", rule_id}));
  while (const Row row = rows.Next()) {
    const std::string filename = text_or(*row, "");
    if (!filename.empty()) look_for(filename, store, attachments);
  }
  return attachments;
}

ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary,
                                const ResponseFile& reply) {
  ShellCommand command;
  for (const Attachment& attachment : found) add_steps(command, attachment, boundary, reply);
  command.Text("echo ").Quoted({"--", boundary, "--"});
  return command.Text(" >>").Text(reply.path()).Text(" ; ");
}

WriterLimits attachment_limits(const std::vector<Attachment>& found, const ResponseFile& reply) {
  constexpr uint64_t kFree = uint64_t{16} << 20;
  WriterLimits limits{kFree + static_cast<uint64_t>(reply.Size()), std::chrono::minutes(10)};
  for (const Attachment& attachment : found) {
    limits.file_size += 2 * static_cast<uint64_t>(attachment.size);
  }
  return limits;
}
