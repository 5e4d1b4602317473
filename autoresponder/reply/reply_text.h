#ifndef AUTORESPONDER_REPLY_REPLY_TEXT_H
#define AUTORESPONDER_REPLY_REPLY_TEXT_H

#include <string>
#include <string_view>

#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/response_file.h"
#include "autoresponder/reply/subject_text.h"

/// A MIME boundary of 39 characters. Every run draws the same sequence (kept).
std::string draw_boundary();

/// The reply's subject in UTF-8: the rule's template filled, cut at 999 bytes, or "Re: " and the
/// incoming subject where it has none.
SubjectText reply_subject(const ResponderRule& rule, const IncomingMessage& message);

/// Writes the header and text part of a reply into `reply`, up to where attachments follow. `from`:
/// the mailbox's address in its ASCII form. `boundary`: that of a multipart reply, or empty for a
/// reply that is its text alone. False when the disk did not take all of it.
bool write_reply_text(ResponseFile& reply, const ResponderRule& rule,
                      const IncomingMessage& message, std::string_view from,
                      std::string_view boundary);

#endif
