#ifndef AUTORESPONDER_DELIVERY_H
#define AUTORESPONDER_DELIVERY_H

#include <cstdint>
#include <string>

#include "autoresponder/incoming_message.h"
#include "autoresponder/rule.h"
#include "autoresponder/shell.h"
#include "autoresponder/subject_text.h"

/// The mail server's limit on the size of a message, in bytes; 0 or less for none.
int64_t size_limit();

/// Whether the response file is larger than `limit`.
bool response_file_exceeds(int64_t limit);

/// The subject of the notice, in UTF-8.
SubjectText notice_subject(const IncomingMessage& message);

/// Replaces the response file by a short notice of its size.
void replace_by_notice(const ResponderRule& rule, const IncomingMessage& message);

/// The command that hands the response file to sendmail, from the mailbox to the incoming
/// message's sender. A recipient that has no ASCII form ends the process as `idn_toascii_string`
/// does.
ShellCommand delivery_command(const IncomingMessage& message);

/// Hands the response file to sendmail, from the mailbox to the incoming message's sender, and
/// removes it. A file above the mail server's size limit is replaced by a short notice first.
/// A failing sendmail goes unnoticed. A recipient that has no ASCII form ends the process as
/// `idn_toascii_string` does.
void deliver_reply(const ResponderRule& rule, const IncomingMessage& message);

#endif
