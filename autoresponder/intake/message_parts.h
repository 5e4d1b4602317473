#pragma once

#include <string>
#include <string_view>

#include <mimelib/mimepp.h>

/// The first mailbox of a Reply-To or To field that is outside of groups and has an address, or
/// null. Lives as long as the list.
const DwMailbox* first_listed_mailbox(DwAddressList& addresses);

/// The first mailbox of a From field that has an address, or null. Lives as long as the list.
const DwMailbox* first_valid_mailbox(DwMailboxList& mailboxes);

/// Local part, "@" and domain as the message has them, up to the first NUL byte.
std::string mailbox_address(const DwMailbox& mailbox);

/// The text of a message, its transfer encoding removed, in the charset that it declares.
struct TextPart {
  std::string charset;  ///< as written in the message, or "US-ASCII"; up to its first NUL
  DwString body;        ///< bytes; empty when the message has no text part
};

/// The body of `message` if its type is text or not given, or that of the first text part directly
/// below a multipart message. Kept: a part without a Content-Type is not text.
TextPart find_text_part(DwMessage& message);

/// The value of the charset parameter of the entity's Content-Type, as written; "US-ASCII" when
/// there is none.
std::string content_type_charset(DwEntity& entity);

/// Replaces `out` by the entity's body without its transfer encoding. Undecodable text gives
/// whatever the decoder makes of it.
void decoded_body_text(DwEntity& entity, DwString& out);

/// The bytes of `text` before its first NUL. Valid as long as `text` is unchanged.
std::string_view up_to_nul(const DwString& text);
