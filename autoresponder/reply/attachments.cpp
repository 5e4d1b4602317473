#include "autoresponder/reply/attachments.h"

#include <algorithm>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

#include "mime/header_encode.h"
#include "support/base/text.h"
#include "support/conf.h"
#include "support/strings.h"

namespace {

bool is_plain_name(const std::string& name) {
  const bool is_directory = name.empty() || name == "." || name == "..";
  return !is_directory && name.find('/') == std::string::npos;
}

// O_NONBLOCK: opening a pipe must not wait for its writer.
constexpr int kFile = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
constexpr int kDirectory = O_PATH | O_CLOEXEC | O_NOFOLLOW | O_DIRECTORY;

std::shared_ptr<const OpenAttachment> measure(OwnedDescriptor file) {
  struct stat status {};
  if (!file.IsOpen() || fstat(file.number(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return nullptr;
  return std::make_shared<OpenAttachment>(std::move(file), status.st_size, status.st_mtim);
}

constexpr const char* kStoreName = "@attachments";

// The headers of an attachment's MIME part, up to the file name.
constexpr const char* kPartHeaders =
    "Content-Type: application/octet-stream\n"
    "Content-Transfer-Encoding: base64\n"
    "Content-Disposition: attachment;\n\tfilename=";

// The value of the parameter, and what stands around it. Kept: an encoded word in quotes, which not
// all mail programs decode, and a backslash that is not escaped.
struct FileNameValue {
  FileNameValue(const std::string& name, const Repairs& repairs)
      : quote(repairs.file_names ? "" : "\""),
        text(repairs.file_names ? file_name_parameter(name) : header_encode(name)) {}

  const char* quote;
  std::string text;
};

// The size of the output of `uuencode -m` for `size` bytes, without its first and last line.
size_t encoded_size(size_t size) {
  constexpr size_t kLine = 45;
  const size_t last = size % kLine;
  const auto line = [](size_t bytes) { return (bytes + 2) / 3 * 4 + 1; };
  return size / kLine * line(kLine) + (last > 0 ? line(last) : 0);
}

// The path by which the command opens the file.
std::string source_of(const Attachment& attachment, ShellCommand& /*command*/) {
  return attachment.path;
}

std::string source_of(const OpenedAttachment& attachment, ShellCommand& command) {
  return command.Inherit(attachment.file->descriptor());
}

// Adds the command that encodes one file, without the first and last line of uuencode.
//
// Kept: after a step that fails, the next ones run. With the repair of whole attachments it ends
// the whole command: by `set -e`, and if uuencode fails by `kill $$`, because `set -e` looks only
// at the last command of a pipeline.
template <class File>
void add_encoding(ShellCommand& command, const File& file, const Repairs& repairs) {
  const bool ends = repairs.whole_attachments;
  command.Text(ends ? "{ uuencode -m -- " : "uuencode -m -- ").Quoted(source_of(file, command));
  command.Text(" ").Quoted(file.name).Text(ends ? " || kill $$ ; }" : "");
  command.Text(" | sed -e '1d;$d' >>");
}

// Adds the shell commands for one file: boundary and headers, then its base64 lines.
//
// Kept: the final `echo` writes to standard output, not to the response file.
template <class File>
void add_steps(ShellCommand& command, const File& file, const std::string& boundary,
               const ResponseFile& reply, const Repairs& repairs) {
  const FileNameValue value(file.name, repairs);
  // Kept: `echo` interprets backslashes in a name. The repair of backslashes uses `printf`.
  command.Text(repairs.backslashes ? "printf '%s\\n' " : "echo ");
  command.QuotedLines(
      {"--", boundary, "\n", kPartHeaders, value.quote, value.text, value.quote, "\n"});
  command.Text(" >>").Text(reply.path()).Text(" ; ");
  add_encoding(command, file, repairs);
  command.Text(reply.path()).Text(repairs.whole_attachments ? " ; echo || : ; " : " ; echo ; ");
}

WriterLimits limits_for(const std::vector<Attachment>& found, const ResponseFile& reply) {
  constexpr uint64_t kFree = uint64_t{16} << 20;
  WriterLimits limits{kFree + static_cast<uint64_t>(reply.Size()), std::chrono::minutes(10)};
  for (const Attachment& attachment : found) {
    limits.file_size += 2 * static_cast<uint64_t>(attachment.size);
  }
  return limits;
}

// Whether reading the file comes to an end: a pipe may block, a device may be endless. A directory
// counts as an empty file.
bool has_an_end(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

// Nothing if the file counts as missing.
//
// Kept: whatever the name leads to counts as a file, also through links and outside the store. The
// repair of the store uses `look_in_store` instead.
std::optional<Attachment> look_for(const std::string& name, const MailboxRef& mailbox) {
  const std::string path = path_in_store(name, mailbox);
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  if (has_an_end(status)) return Attachment{name, path, status.st_size};
  diagnose({"autoresponder: no plain file, attached empty: ", path});
  return Attachment{name, "/dev/null", 0};
}

std::optional<OpenedAttachment> look_in_store(const std::string& name, const MailboxRef& mailbox) {
  auto file = open_in_store(name, mailbox);
  if (file == nullptr) return std::nullopt;
  return OpenedAttachment{{name, path_in_store(name, mailbox), file->size()}, file};
}

// The names of the rule's attachments, without white space around them.
std::vector<std::string> names_of(PanelDatabase& database, const char* rule_id) {
  std::vector<std::string> names;
  Rows rows = database.Query(joined({"select filename from resp_attach where rn_id=", rule_id}));
  while (const Row row = rows.Next()) {
    std::string filename = text_or(*row, "");
    if (!filename.empty()) names.emplace_back(str_trim(filename.data()));
  }
  return names;
}

template <class File>
std::vector<File> look_for_all(const std::vector<std::string>& names, const MailboxRef& mailbox,
                               std::optional<File> (*look)(const std::string&, const MailboxRef&),
                               AttachmentList& list) {
  std::vector<File> files;
  for (const std::string& name : names) {
    if (auto file = look(name, mailbox)) {
      list.found.push_back(*file);
      files.push_back(*std::move(file));
    } else {
      list.missing.push_back(name);
    }
  }
  return files;
}

}  // namespace

bool OpenAttachment::IsUnchanged() const {
  struct stat status {};
  if (fstat(descriptor(), &status) != 0) return false;
  const timespec& now = status.st_mtim;
  return status.st_size == size_ && now.tv_sec == changed_.tv_sec &&
         now.tv_nsec == changed_.tv_nsec;
}

// Opens each step relative to the one before, without following links: a directory that is replaced
// by a link meanwhile leads nowhere else.
std::shared_ptr<const OpenAttachment> open_below(const std::string& root,
                                                 std::initializer_list<std::string> steps) {
  if (!std::all_of(steps.begin(), steps.end(), is_plain_name)) return nullptr;
  OwnedDescriptor reached(open(root.c_str(), O_PATH | O_CLOEXEC | O_DIRECTORY));
  const auto* const file = steps.end() - 1;
  for (const auto* step = steps.begin(); step != steps.end() && reached.IsOpen(); ++step) {
    const int flags = step == file ? kFile : kDirectory;
    reached = OwnedDescriptor(openat(reached.number(), step->c_str(), flags));
  }
  return measure(std::move(reached));
}

std::string path_in_store(const std::string& name, const MailboxRef& mailbox) {
  return joined({QMAIL_MAILNAMES_D, "/", mailbox.domain_name, "/", mailbox.mail_name, "/",
                 kStoreName, "/", name});
}

std::shared_ptr<const OpenAttachment> open_in_store(const std::string& name,
                                                    const MailboxRef& mailbox) {
  return open_below(QMAIL_MAILNAMES_D, {mailbox.domain_name, mailbox.mail_name, kStoreName, name});
}

AttachedFiles find_attachments(PanelDatabase& database, const char* rule_id,
                               const MailboxRef& mailbox, const Repairs& repairs,
                               AttachmentList& list) {
  const std::vector<std::string> names = names_of(database, rule_id);
  if (repairs.store) return look_for_all(names, mailbox, look_in_store, list);
  return look_for_all(names, mailbox, look_for, list);
}

ShellCommand attachment_command(const AttachedFiles& files, const std::string& boundary,
                                const ResponseFile& reply, const Repairs& repairs) {
  ShellCommand command(Purpose::kAttach, repairs);
  if (repairs.whole_attachments) command.Text("set -e ; ");
  std::visit(
      [&](const auto& all) {
        for (const auto& file : all) add_steps(command, file, boundary, reply, repairs);
        command.limits = limits_for({all.begin(), all.end()}, reply);
      },
      files);
  command.Text("echo ").Quoted({"--", boundary, "--"});
  command.Text(" >>").Text(reply.path()).Text(" ; ");
  return command;
}

int64_t appended_size(const std::vector<Attachment>& found, const std::string& boundary,
                      const Repairs& repairs) {
  size_t size = joined({"--", boundary, "--\n"}).size();
  for (const Attachment& attachment : found) {
    const FileNameValue value(attachment.name, repairs);
    size +=
        joined({"--", boundary, "\n", kPartHeaders, value.quote, value.text, value.quote, "\n\n"})
            .size();
    size += encoded_size(static_cast<size_t>(attachment.size));
  }
  return static_cast<int64_t>(size);
}

bool are_unchanged(const AttachedFiles& files) {
  const auto* const opened = std::get_if<std::vector<OpenedAttachment>>(&files);
  return opened == nullptr ||
         std::all_of(opened->begin(), opened->end(),
                     [](const OpenedAttachment& file) { return file.file->IsUnchanged(); });
}
