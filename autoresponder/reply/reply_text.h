#pragma once

#include <string>
#include <string_view>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/subject_text.h"

/// A random MIME boundary of 39 characters.
///
/// Kept: the generator is not seeded, so every run draws the same sequence.
std::string draw_boundary();

/// The reply's subject in UTF-8: the rule's template, filled in and cut at 999 bytes; without a
/// template "Re: " and the incoming subject.
SubjectText reply_subject(const ResponderRule& rule, const IncomingMessage& message);

/// Writes the header and the text part of the reply. `from`: the mailbox's address in its ASCII
/// form. `boundary`: delimits the parts of a reply with attachments, which have to be appended
/// afterwards; empty for a reply without attachments. `more_fields`: lines for its header, may be
/// empty. False if not everything could be written.
bool write_reply_text(ResponseFile& reply, const ResponderRule& rule,
                      const IncomingMessage& message, std::string_view from,
                      std::string_view boundary, std::string_view more_fields);
