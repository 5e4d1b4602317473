#ifndef AUTORESPONDER_ATTACHMENTS_H
#define AUTORESPONDER_ATTACHMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "autoresponder/mailbox.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/shell.h"

/// A file in a mailbox's attachment store.
struct Attachment {
  std::string name;  ///< as the rule names it, without blanks around it
  std::string path;
  int64_t size;  ///< bytes
};

/// The attachments that a rule names.
struct AttachmentList {
  std::vector<Attachment> found;
  std::vector<std::string> missing;  ///< the names of those that do not exist
};

/// Looks for a rule's attachments in the mailbox's store. A failing query stops the engine.
AttachmentList find_attachments(PanelDatabase& database, const std::string& rule_id,
                                const MailboxRef& mailbox);

/// The command that appends `found`, which is not empty, to the response file as MIME parts, and
/// the closing boundary.
ShellCommand attachment_command(const std::vector<Attachment>& found, const std::string& boundary);

/// Runs that command; does nothing where no file was found. Where a name holds a single quote
/// nothing is appended.
void append_attachments(const std::vector<Attachment>& found, const std::string& boundary);

#endif
