#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/reply_text.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/shell.h"

/// The mail server's limit on the size of a message, in bytes; 0 or less for none.
int64_t size_limit();

/// Whether a reply of `size` bytes exceeds the mail server's `limit`; 0 or less is no limit.
bool exceeds(int64_t size, int64_t limit);

/// The subject, in UTF-8, of the notice that a reply is too large.
SubjectText notice_subject(const IncomingMessage& message);

/// Replaces the reply by a short notice that it is too large. `more_fields`: lines for the end of
/// its header; may be empty. False if not everything could be written.
bool replace_by_notice(ResponseFile& reply, const ResponderRule& rule,
                       const IncomingMessage& message, std::string_view more_fields);

/// The command that sends the reply to the incoming message's sender by sendmail. `from`: the
/// envelope sender in ASCII; empty for a null one.
ShellCommand delivery_command(const std::string& from, const IncomingMessage& message,
                              const ResponseFile& reply, const Repairs& repairs);
