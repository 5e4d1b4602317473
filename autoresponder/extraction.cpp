#include "autoresponder/extraction.h"

#include <memory>
#include <utility>

#include "autoresponder/addresses.h"
#include "autoresponder/body_text.h"
#include "mime/charset.h"
#include "mime/encoded_word.h"
#include "support/diagnose.h"
#include "support/ex_error.h"

namespace {

// What the message itself says, before any charset was converted.
struct RawMessage {
  SenderField sender_field = SenderField::kNone;
  std::string sender;
  std::string recipient;
  std::string subject;
  std::string date;
  TextPart text;
};

struct Sender {
  SenderField field;
  std::string address;
};

// A Reply-To without a usable mailbox counts as none.
std::optional<Sender> find_sender(DwHeaders& headers) {
  if (headers.HasReplyTo()) {
    const DwMailbox* mailbox = first_listed_mailbox(headers.ReplyTo());
    if (mailbox != nullptr) return Sender{SenderField::kReplyTo, mailbox_address(*mailbox)};
  }
  const DwMailbox* mailbox = headers.HasFrom() ? first_valid_mailbox(headers.From()) : nullptr;
  if (mailbox == nullptr) return std::nullopt;
  return Sender{SenderField::kFrom, mailbox_address(*mailbox)};
}

std::optional<std::string> find_listed_recipient(DwHeaders& headers) {
  const DwMailbox* mailbox = headers.HasTo() ? first_listed_mailbox(headers.To()) : nullptr;
  if (mailbox == nullptr) return std::nullopt;
  return mailbox_address(*mailbox);
}

Extraction report_no_sender() {
  diagnose({"Could not get sender's e-mail address from Reply-To: or From: headers."});
  return Extraction::kNoSender;
}

Extraction report_no_recipient() {
  diagnose(
      {"Could not get recipient's e-mail address from environment variable RECIPIENT or "
       "To: header."});
  return Extraction::kNoRecipient;
}

Extraction take_apart(const DwString& message_text, const std::optional<std::string>& delivered_to,
                      RawMessage& raw) {
  const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(message_text, nullptr));
  message->Parse();
  DwHeaders& headers = message->Headers();
  auto sender = find_sender(headers);
  if (!sender) return report_no_sender();
  raw.sender_field = sender->field;
  raw.sender = std::move(sender->address);
  auto recipient = delivered_to ? delivered_to : find_listed_recipient(headers);
  if (!recipient) return report_no_recipient();
  raw.recipient = *std::move(recipient);
  if (headers.HasSubject()) raw.subject = up_to_nul(headers.Subject().AsString());
  if (headers.HasDate()) raw.date = up_to_nul(headers.Date().AsString());
  raw.text = find_text_part(*message);
  return Extraction::kDone;
}

// Kept: the charset in these messages is the body's, also where a word of the subject fails.
void warn_unconverted(const char* what, const std::string& charset) {
  diagnose({"Could not convert message ", what, " text from ", charset, " to UTF-8."});
}

std::string body_in_utf8(std::string_view body, const std::string& charset) {
  try {
    return convert_charset(body, charset, "UTF-8", true);
  } catch (const quern::ExError&) {
    warn_unconverted("body", charset);
    return std::string(body);
  }
}

// The body of a message of `message_length` bytes. One that need not be converted stays where it
// is, unless it would keep a far larger message in memory.
BodyLines lines_of(TextPart& text, size_t message_length) {
  const auto bytes = std::make_shared<const DwString>(std::move(text.body));
  const std::string_view body = up_to_nul(*bytes);
  const bool stays = body.size() >= message_length / 2;
  if (stays && is_unchanged(body, text.charset, "UTF-8")) return {body, bytes};
  return BodyLines(body_in_utf8(body, text.charset));
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

ExtractionResult extract(DwString message_text, const std::optional<std::string>& delivered_to,
                         IncomingMessage& record) {
  RawMessage raw;
  const Extraction outcome = take_apart(message_text, delivered_to, raw);
  if (outcome != Extraction::kDone) return {outcome, raw.sender_field, std::move(raw.sender)};
  const size_t message_length = message_text.length();
  message_text = DwString();  // what was decoded is all that is needed from here on
  record.body_lines = lines_of(raw.text, message_length);
  fill_addresses(raw, record);
  record.subject = subject_in_utf8(raw);
  raw.subject = std::string();
  record.date = std::move(raw.date);
  record.charset = std::move(raw.text.charset);
  return {outcome, raw.sender_field, {}};
}
