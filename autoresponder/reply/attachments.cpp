#include "autoresponder/reply/attachments.h"

#include <algorithm>
#include <sys/stat.h>

#include "mime/header_encode.h"
#include "support/base/diagnose.h"
#include "support/base/joined.h"
#include "support/conf.h"
#include "support/strings.h"

namespace {

constexpr const char* kStoreName = "@attachments";

// The headers of an attachment's MIME part, up to the file name.
constexpr const char* kPartHeaders =
    "Content-Type: application/octet-stream\n"
    "Content-Transfer-Encoding: base64\n"
    "Content-Disposition: attachment;\n\tfilename=\"";

// What uuencode makes of `size` bytes, without its first and last line: lines of 45 bytes, each
// three bytes as four.
size_t encoded_size(size_t size) {
  constexpr size_t kLine = 45;
  const size_t last = size % kLine;
  const auto line = [](size_t bytes) { return (bytes + 2) / 3 * 4 + 1; };
  return size / kLine * line(kLine) + (last > 0 ? line(last) : 0);
}

// Adds the command that encodes one file, without the first and last line of uuencode.
//
// Kept: a step that fails leaves what it has written, and the next ones follow. The repair of whole
// mails lets the first one that fails end the whole command (`set -e`); a shell does not see by
// itself that the beginning of a pipeline has failed.
void add_encoding(ShellCommand& command, const Attachment& attachment, const Switches& switches) {
  if (switches.repairs) {
    command.Text("{ uuencode -m -- ").Quoted(command.Inherit(attachment.opened->descriptor()));
    command.Text(" ").Quoted(attachment.name).Text(" || kill $$ ; }");
  } else {
    command.Text("uuencode -m -- ").Quoted(attachment.path).Text(" ").Quoted(attachment.name);
  }
  command.Text(" | sed -e '1d;$d' >>");
}

// Adds the shell commands for one file: boundary and headers, then its base64 lines.
//
// Kept: the final `echo` writes to standard output, not to the response file.
void add_steps(ShellCommand& command, const Attachment& attachment, const std::string& boundary,
               const ResponseFile& reply, const Switches& switches) {
  const std::string header_name = header_encode(attachment.name);
  // Kept: `echo` reads backslashes in a name. The repair of quotes hands the name over as it is.
  command.Text(switches.repairs ? "printf '%s\\n' " : "echo ");
  command.QuotedLines({"--", boundary, "\n", kPartHeaders, header_name, "\"\n"});
  command.Text(" >>").Text(reply.path()).Text(" ; ");
  add_encoding(command, attachment, switches);
  command.Text(reply.path()).Text(switches.repairs ? " ; echo || : ; " : " ; echo ; ");
}

// Whether reading the file comes to an end: a pipe may block, a device may be endless. Directories
// are read as empty.
bool has_an_end(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

// Kept: whatever is reached by the name counts as a file, also through links and outside of the
// store. The repair of the store does not: see `open_below`.
void look_in_store(const std::string& name, const MailboxRef& mailbox,
                   AttachmentList& attachments) {
  auto opened = open_in_store(name, mailbox);
  if (opened == nullptr) {
    attachments.missing.push_back(name);
  } else {
    attachments.found.push_back({name, path_in_store(name, mailbox), opened->size(), opened});
  }
}

void look_for(const std::string& name, const MailboxRef& mailbox, AttachmentList& attachments) {
  const std::string path = path_in_store(name, mailbox);
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    attachments.missing.push_back(name);
  } else if (has_an_end(status)) {
    attachments.found.push_back({name, path, status.st_size, nullptr});
  } else {
    diagnose({"autoresponder: no plain file, attached empty: ", path});
    attachments.found.push_back({name, "/dev/null", 0, nullptr});
  }
}

}  // namespace

std::string path_in_store(const std::string& name, const MailboxRef& mailbox) {
  return joined({QMAIL_MAILNAMES_D, "/", mailbox.domain_name, "/", mailbox.mail_name, "/",
                 kStoreName, "/", name});
}

std::shared_ptr<const OpenAttachment> open_in_store(const std::string& name,
                                                    const MailboxRef& mailbox) {
  return open_below(QMAIL_MAILNAMES_D, {mailbox.domain_name, mailbox.mail_name, kStoreName, name});
}

AttachmentList find_attachments(PanelDatabase& database, const char* rule_id,
                                const MailboxRef& mailbox, const Switches& switches) {
  AttachmentList attachments;
  if (switches.repairs) allow_many_descriptors();
  Rows rows = database.Query(joined({"select filename from resp_attach where rn_id=", rule_id}));
  while (const Row row = rows.Next()) {
    std::string filename = text_or(*row, "");
    if (filename.empty()) continue;
    const std::string name = str_trim(filename.data());
    if (switches.repairs) {
      look_in_store(name, mailbox, attachments);
    } else {
      look_for(name, mailbox, attachments);
    }
  }
  return attachments;
}

ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary,
                                const ResponseFile& reply, const Switches& switches) {
  ShellCommand command(switches);
  if (switches.repairs) command.Text("set -e ; ");
  for (const Attachment& attachment : found) {
    add_steps(command, attachment, boundary, reply, switches);
  }
  command.Text("echo ").Quoted({"--", boundary, "--"});
  return command.Text(" >>").Text(reply.path()).Text(" ; ");
}

int64_t appended_size(const std::vector<Attachment>& found, const std::string& boundary) {
  size_t size = joined({"--", boundary, "--\n"}).size();
  for (const Attachment& attachment : found) {
    const std::string name = header_encode(attachment.name);
    size += joined({"--", boundary, "\n", kPartHeaders, name, "\"\n\n"}).size();
    size += encoded_size(static_cast<size_t>(attachment.size));
  }
  return static_cast<int64_t>(size);
}

bool are_unchanged(const std::vector<Attachment>& found) {
  return std::all_of(found.begin(), found.end(),
                     [](const Attachment& attachment) { return attachment.opened->IsUnchanged(); });
}

WriterLimits attachment_limits(const std::vector<Attachment>& found, const ResponseFile& reply) {
  constexpr uint64_t kFree = uint64_t{16} << 20;
  WriterLimits limits{kFree + static_cast<uint64_t>(reply.Size()), std::chrono::minutes(10)};
  for (const Attachment& attachment : found) {
    limits.file_size += 2 * static_cast<uint64_t>(attachment.size);
  }
  return limits;
}
