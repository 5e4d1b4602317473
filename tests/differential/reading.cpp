#include "reading.h"

#include <memory>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "../parsed_message.h"
#include "autoresponder/intake/message_parts.h"
#include "mime/encoded_word.h"
#include "support/base/ex_error.h"

namespace {

std::string address_of(const DwMailbox* mailbox) {
  return mailbox != nullptr ? mailbox_address(*mailbox) : std::string();
}

std::string find_sender(DwHeaders& headers) {
  const DwMailbox* mailbox = nullptr;
  if (headers.HasReplyTo()) mailbox = first_listed_mailbox(headers.ReplyTo());
  if (mailbox == nullptr && headers.HasFrom()) mailbox = first_valid_mailbox(headers.From());
  return address_of(mailbox);
}

std::string find_subject(DwHeaders& headers) {
  if (!headers.HasSubject()) return {};
  try {
    return rfc1522_decode(up_to_nul(headers.Subject().AsString()));
  } catch (const quern::ExError&) {
    return {};  // a word in an unknown charset
  }
}

}  // namespace

void PrintTo(const Reading& reading, std::ostream* out) {
  *out << "sender " << testing::PrintToString(reading.sender) << ", recipient "
       << testing::PrintToString(reading.recipient) << ", subject "
       << testing::PrintToString(reading.subject) << ", charset "
       << testing::PrintToString(reading.charset) << ", body "
       << testing::PrintToString(reading.body);
}

Reading read_with_mimelib(const std::string& message) {
  const std::string spooled = message + "\n";
  const std::unique_ptr<DwMessage> parts = parsed(spooled);
  DwHeaders& headers = parts->Headers();
  Reading reading;
  reading.sender = find_sender(headers);
  if (headers.HasTo()) reading.recipient = address_of(first_listed_mailbox(headers.To()));
  reading.subject = find_subject(headers);
  const TextPart text = find_text_part(*parts);
  reading.charset = text.charset;
  reading.body = bytes_of(text.body);
  return reading;
}
