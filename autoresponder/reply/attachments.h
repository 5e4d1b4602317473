#ifndef AUTORESPONDER_REPLY_ATTACHMENTS_H
#define AUTORESPONDER_REPLY_ATTACHMENTS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "autoresponder/message/switches.h"
#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/open_attachment.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"

/// A file in a mailbox's attachment store.
struct Attachment {
  std::string name;  ///< as the rule names it, without white space around it
  std::string path;
  int64_t size;                                  ///< bytes
  std::shared_ptr<const OpenAttachment> opened;  ///< with repairs only
};

/// The attachments of a rule.
struct AttachmentList {
  std::vector<Attachment> found;
  std::vector<std::string> missing;  ///< the names of files that do not exist
};

/// The path of the file `name` of the mailbox's store.
std::string path_in_store(const std::string& name, const MailboxRef& mailbox);

/// Opens the file `name` of the mailbox's store, as repairs do (`open_below`); null if it counts as
/// missing.
std::shared_ptr<const OpenAttachment> open_in_store(const std::string& name,
                                                    const MailboxRef& mailbox);

/// Looks for a rule's attachments in the mailbox's store. Pipes, devices and sockets, which could
/// be read without end, are reported on standard error and replaced by an empty file; with repairs
/// what is no plain file below the store, reached without symbolic links, is missing. Throws
/// `PanelFailure` if a query fails.
AttachmentList find_attachments(PanelDatabase& database, const char* rule_id,
                                const MailboxRef& mailbox, const Switches& switches);

/// The command that appends `found` to the response file as MIME parts, and after them the closing
/// boundary. `found` must not be empty. With repairs the command fails unless it has appended
/// everything.
ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary,
                                const ResponseFile& reply, const Switches& switches);

/// How many bytes that command appends if nothing fails.
int64_t appended_size(const std::vector<Attachment>& found, const std::string& boundary);

/// Whether none of the files has changed since it was found. For repairs.
bool are_unchanged(const std::vector<Attachment>& found);

/// The limits for the attachment command: more than the files need in base64. They stop a file that
/// grows meanwhile, or was replaced by an endless one, from filling the disk or blocking the
/// delivery.
WriterLimits attachment_limits(const std::vector<Attachment>& found, const ResponseFile& reply);

#endif
