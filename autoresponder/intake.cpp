#include "autoresponder/intake.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/addresses.h"
#include "autoresponder/body_text.h"
#include "autoresponder/temporary_files.h"
#include "mime/charset.h"
#include "mime/encoded_word.h"
#include "support/diagnose.h"
#include "support/ex_error.h"
#include "support/owned.h"

namespace {

// What the message itself says, before any charset was converted.
struct RawMessage {
  std::string sender;
  std::string recipient;
  std::string subject;
  std::string date;
  TextPart text;
};

// Copies standard input to the spool file and into `message_text`. Kept: the read that meets the
// end counts as a line too, so both are the input and one newline.
bool spool_standard_input(DwString& message_text) {
  const OwnedDescriptor descriptor(create_spool_file());
  if (!descriptor.IsOpen()) {
    diagnose({"Could not create a temporary file."});
    return false;
  }
  DwInitialize();
  std::ofstream spool(spool_file_path, std::ios::trunc);
  DwString line;
  do {
    getline(std::cin, line);
    message_text.append(line).append("\n", 1);
    spool << line << '\n';
  } while (std::cin.good());
  return true;
}

// Kept: only the first "-" counts, even where the prefix itself holds one.
std::string address_of_delivery(const char* recipient_variable) {
  const char* const dash = strchr(recipient_variable, '-');
  return dash != nullptr ? dash + 1 : recipient_variable;
}

std::optional<std::string> find_recipient(const DwHeaders& headers) {
  if (const char* const variable = getenv("RECIPIENT")) return address_of_delivery(variable);
  const DwMailbox* mailbox = headers.HasTo() ? first_listed_mailbox(headers.To()) : nullptr;
  if (mailbox == nullptr) return std::nullopt;
  return mailbox_address(*mailbox);
}

std::optional<std::string> find_sender(const DwHeaders& headers) {
  const DwMailbox* mailbox = nullptr;
  if (headers.HasReplyTo()) mailbox = first_listed_mailbox(headers.ReplyTo());
  if (mailbox == nullptr && headers.HasFrom()) mailbox = first_valid_mailbox(headers.From());
  if (mailbox == nullptr) return std::nullopt;
  return mailbox_address(*mailbox);
}

// Nothing where the message has no sender or no recipient, which has been reported.
std::optional<RawMessage> take_apart(const DwString& message_text) {
  const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(message_text, nullptr));
  message->Parse();
  DwHeaders& headers = message->Headers();
  auto sender = find_sender(headers);
  if (!sender) {
    diagnose({"Could not get sender's e-mail address from Reply-To: or From: headers."});
    return std::nullopt;
  }
  auto recipient = find_recipient(headers);
  if (!recipient) {
    diagnose(
        {"Could not get recipient's e-mail address from environment variable RECIPIENT or "
         "To: header."});
    return std::nullopt;
  }
  RawMessage raw{*std::move(sender), *std::move(recipient), {}, {}, {}};
  if (headers.HasSubject()) raw.subject = up_to_nul(headers.Subject().AsString());
  if (headers.HasDate()) raw.date = up_to_nul(headers.Date().AsString());
  raw.text = find_text_part(*message);
  return raw;
}

// Kept: the charset in these messages is the body's, also where a word of the subject fails.
void warn_unconverted(const char* what, const std::string& charset) {
  diagnose({"Could not convert message ", what, " text from ", charset, " to UTF-8."});
}

std::string body_in_utf8(const TextPart& text) {
  const std::string_view body = up_to_nul(text.body);
  try {
    return convert_charset(body, text.charset, "UTF-8", true);
  } catch (const quern::ExError&) {
    warn_unconverted("body", text.charset);
    return std::string(body);
  }
}

std::string subject_in_utf8(const RawMessage& raw) {
  try {
    return rfc1522_decode(raw.subject);
  } catch (const quern::ExError&) {
    warn_unconverted("subject", raw.text.charset);
    return {};
  }
}

void fill_addresses(RawMessage& raw, IncomingMessage& record) {
  record.sender = std::move(raw.sender);
  record.recipient = std::move(raw.recipient);
  const size_t at = record.recipient.find('@');
  record.recipient_mailname = record.recipient.substr(0, at);
  record.recipient_domain =
      at == std::string::npos ? record.recipient : record.recipient.substr(at + 1);
}

}  // namespace

int read_incoming_message(IncomingMessage& record) {
  DwString message_text;
  if (!spool_standard_input(message_text)) return 1;
  std::optional<RawMessage> raw = take_apart(message_text);
  if (!raw) return 1;
  message_text = DwString();  // what was decoded is all that is needed from here on
  std::string body = body_in_utf8(raw->text);
  raw->text.body = DwString();
  fill_addresses(*raw, record);
  record.subject = subject_in_utf8(*raw);
  raw->subject = std::string();
  record.date = std::move(raw->date);
  record.charset = std::move(raw->text.charset);
  record.body_lines = BodyLines(std::move(body));
  return 0;
}
