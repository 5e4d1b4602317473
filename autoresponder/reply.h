#ifndef AUTORESPONDER_REPLY_H
#define AUTORESPONDER_REPLY_H

#include <string>
#include <string_view>

#include "autoresponder/incoming_message.h"
#include "autoresponder/mailbox.h"
#include "autoresponder/panel_database.h"
#include "autoresponder/rule.h"
#include "autoresponder/subject_text.h"

/// Builds the rule's reply in the response file, with the attachments that exist, and sends it.
/// Missing attachments are told to the mailbox's owner. A failing query for the attachments ends
/// the run with its diagnostic and status 0.
void send_reply(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
                const IncomingMessage& message);

/// The reply's subject in UTF-8: the rule's template filled, cut at 999 bytes, or "Re: " and the
/// incoming subject where it has none.
SubjectText reply_subject(const ResponderRule& rule, const IncomingMessage& message);

/// A MIME boundary of 39 characters. Every run draws the same sequence (kept).
std::string draw_boundary();

/// Writes the header and text part of a reply into the response file, up to where attachments
/// follow. `boundary`: that of a multipart reply, or empty for a reply that is its text alone.
/// False when the disk did not take all of it. A recipient that has no ASCII form ends the process
/// as `idn_toascii_string` does, disk or no disk.
bool write_response_file(const ResponderRule& rule, const IncomingMessage& message,
                         std::string_view boundary);

#endif
