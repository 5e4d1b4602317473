#pragma once

#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "autoresponder/message/switches.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"
#include "support/base/owned.h"

/// An attachment that is open for reading: the file that was measured is the one that is encoded,
/// even if its name leads to another one by then.
class OpenAttachment {
 public:
  /// Owns `descriptor`, an open plain file of `size` bytes, last modified at `changed`.
  OpenAttachment(OwnedDescriptor descriptor, int64_t size, timespec changed)
      : descriptor_(std::move(descriptor)), size_(size), changed_(changed) {}

  int descriptor() const { return descriptor_.number(); }
  int64_t size() const { return size_; }

  /// Whether size and modification time are still those of the construction.
  bool IsUnchanged() const;

 private:
  OwnedDescriptor descriptor_;
  int64_t size_;
  timespec changed_;
};

/// Opens a plain file below the directory `root`. `steps`: the names of the directories on the way
/// and of the file, at least one name. Null if the file cannot be opened or is no plain file, if a
/// name is empty, ".", ".." or has a "/", or if one is a symbolic link. Only `root` may lead
/// through links.
std::shared_ptr<const OpenAttachment> open_below(const std::string& root,
                                                 std::initializer_list<std::string> steps);

/// A file in a mailbox's attachment store, as it was found.
struct Attachment {
  std::string name;  ///< as the rule names it, without white space around it
  std::string path;
  int64_t size;  ///< bytes
};

/// A file that was opened when it was found.
struct OpenedAttachment : Attachment {
  std::shared_ptr<const OpenAttachment> file;  ///< never null
};

/// The files to attach: all by their paths or, with the repair of the store, all open.
using AttachedFiles = std::variant<std::vector<Attachment>, std::vector<OpenedAttachment>>;

/// The attachments of a rule.
struct AttachmentList {
  std::vector<Attachment> found;
  std::vector<std::string> missing;  ///< names of files that were not found
};

/// The path of the file `name` of the mailbox's store.
std::string path_in_store(const std::string& name, const MailboxRef& mailbox);

/// Opens the file `name` of the mailbox's store (`open_below`); null if it counts as missing.
std::shared_ptr<const OpenAttachment> open_in_store(const std::string& name,
                                                    const MailboxRef& mailbox);

/// Looks for a rule's attachments in the mailbox's store, adds them to `list` and returns those
/// that were found. Pipes, devices and sockets, which could be read without end, are reported on
/// standard error and replaced by an empty file. With the repair of the store all but plain files
/// in the store, reached without symbolic links, are missing. Throws `PanelFailure` if a query
/// fails.
AttachedFiles find_attachments(PanelDatabase& database, const char* rule_id,
                               const MailboxRef& mailbox, const Repairs& repairs,
                               AttachmentList& list);

/// The command that appends the files (at least one) to the response file as MIME parts, and then
/// the closing boundary. With the repair of whole attachments it fails unless it has appended
/// everything. Its limits exceed what the files need in base64: they stop a file that grows
/// meanwhile, or was replaced by an endless one, from filling the disk or blocking the delivery.
ShellCommand attachment_command(const AttachedFiles& files, const std::string& boundary,
                                const ResponseFile& reply, const Repairs& repairs);

/// How many bytes `attachment_command` appends if nothing fails.
int64_t appended_size(const std::vector<Attachment>& found, const std::string& boundary,
                      const Repairs& repairs);

/// Whether no open file has changed since it was found. Files known only by path are not checked.
bool are_unchanged(const AttachedFiles& files);
