#ifndef AUTORESPONDER_REPLY_ATTACHMENTS_H
#define AUTORESPONDER_REPLY_ATTACHMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "autoresponder/panel/mailbox.h"
#include "autoresponder/panel/panel_database.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"

/// A file in a mailbox's attachment store.
struct Attachment {
  std::string name;  ///< as the rule names it, without white space around it
  std::string path;
  int64_t size;  ///< bytes
};

/// The attachments that a rule names.
struct AttachmentList {
  std::vector<Attachment> found;
  std::vector<std::string> missing;  ///< the names of those that do not exist
};

/// Looks for a rule's attachments in the mailbox's store. A pipe, a device or a socket counts as an
/// empty file, which is reported: reading it may have no end. A failing query throws
/// `PanelFailure`.
AttachmentList find_attachments(PanelDatabase& database, const char* rule_id,
                                const MailboxRef& mailbox);

/// The command that appends `found`, which is not empty, to the response file as MIME parts, and
/// the closing boundary.
ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary,
                                const ResponseFile& reply);

/// What that command may take: more than the files can become in base64. One that grows meanwhile,
/// or was replaced by something without an end, neither fills the disk nor holds up the delivery
/// for ever.
WriterLimits attachment_limits(const std::vector<Attachment>& found, const ResponseFile& reply);

#endif
