#include "autoresponder/intake/extraction.h"

#include <memory>
#include <utility>

#include "autoresponder/intake/automatic_mail.h"
#include "autoresponder/intake/message_parts.h"
#include "autoresponder/message/body_lines.h"
#include "mime/charset.h"
#include "mime/encoded_word.h"
#include "support/base/ex_error.h"
#include "support/base/text.h"

namespace {

// What the message contains, in its own charsets.
struct RawMessage {
  SenderField sender_field = SenderField::kNone;
  std::string sender;
  std::string recipient;
  std::string subject;
  std::string date;
  TextPart text;
  CourtesyFacts courtesy;
};

// Fills in the sender; false if there is none. A Reply-To without a usable mailbox counts as none.
bool find_sender(DwHeaders& headers, RawMessage& raw) {
  const DwMailbox* mailbox =
      headers.HasReplyTo() ? first_listed_mailbox(headers.ReplyTo()) : nullptr;
  const SenderField field = mailbox != nullptr ? SenderField::kReplyTo : SenderField::kFrom;
  if (mailbox == nullptr && headers.HasFrom()) mailbox = first_valid_mailbox(headers.From());
  if (mailbox == nullptr) return false;
  raw.sender_field = field;
  raw.sender = mailbox_address(*mailbox);
  return true;
}

std::optional<std::string> find_listed_recipient(DwHeaders& headers) {
  const DwMailbox* mailbox = headers.HasTo() ? first_listed_mailbox(headers.To()) : nullptr;
  if (mailbox == nullptr) return std::nullopt;
  return mailbox_address(*mailbox);
}

constexpr const char* kNoSender =
    "Could not get sender's e-mail address from Reply-To: or From: headers.";
constexpr const char* kNoRecipient =
    "Could not get recipient's e-mail address from environment variable RECIPIENT or To: header.";

Extraction refuse(const char* why, Extraction outcome) {
  diagnose({why});
  return outcome;
}

Extraction take_apart(const DwString& message_text, const std::optional<std::string>& delivered_to,
                      const Switches& switches, RawMessage& raw) {
  const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(message_text, nullptr));
  message->Parse();
  DwHeaders& headers = message->Headers();
  if (!find_sender(headers, raw)) return refuse(kNoSender, Extraction::kNoSender);
  auto recipient = delivered_to ? delivered_to : find_listed_recipient(headers);
  if (!recipient) return refuse(kNoRecipient, Extraction::kNoRecipient);
  raw.recipient = *std::move(recipient);
  if (headers.HasSubject()) raw.subject = up_to_nul(headers.Subject().AsString());
  if (headers.HasDate()) raw.date = up_to_nul(headers.Date().AsString());
  raw.text = find_text_part(*message);
  if (switches.courtesy) {
    const DwString& header = headers.AsString();
    raw.courtesy = gather_courtesy_facts({header.data(), header.length()});
  }
  return Extraction::kDone;
}

// Kept: names the charset of the body, even if a word of the subject could not be converted.
void warn_unconverted(const char* what, const std::string& charset) {
  diagnose({"Could not convert message ", what, " text from ", charset, " to UTF-8."});
}

// The decoded bytes of the text part, and what keeps them in memory.
struct BodyBytes {
  std::string_view text;
  std::shared_ptr<const void> owner;
};

// The bytes may be shared with the whole message, of `message_length` bytes. They are copied if
// they would keep a much larger message in memory.
BodyBytes take_body(TextPart& part, size_t message_length) {
  const auto bytes = std::make_shared<const DwString>(std::move(part.body));
  const std::string_view text = up_to_nul(*bytes);
  if (text.size() >= message_length / 2) return {text, bytes};
  const auto copy = std::make_shared<const std::string>(text);
  return {*copy, copy};
}

// A body that more than doubles is not kept in UTF-8: the first conversion shows that it does not
// fail, and each search converts it again. The capacity is reserved at once, so that the text is
// not moved as it grows; pages that are not written take no memory.
BodyLines convert_lines(BodyBytes& body, const std::string& charset) {
  constexpr size_t kFree = 4096;
  std::string converted;
  converted.reserve(2 * body.text.size() + kFree);
  bool is_kept = true;
  convert_charset_in_pieces(body.text, charset, "UTF-8", true, [&](std::string_view piece) {
    is_kept = is_kept && piece.size() <= converted.capacity() - converted.size();
    if (is_kept) {
      converted += piece;
    } else {
      converted = std::string();
    }
    return true;
  });
  if (!is_kept) return {body.text, std::move(body.owner), charset};
  body = {};
  return BodyLines(std::move(converted));
}

BodyLines lines_of(BodyBytes body, const std::string& charset) {
  if (is_unchanged(body.text, charset, "UTF-8")) return {body.text, std::move(body.owner)};
  try {
    return convert_lines(body, charset);
  } catch (const quern::ExError&) {
    warn_unconverted("body", charset);
    return {body.text, std::move(body.owner)};
  }
}

// Kept: for a subject that ends in "?=", a blank and a NUL the decoder throws what nobody catches,
// and the run aborts. With the repair `subject` it is read like any other.
std::string subject_in_utf8(const RawMessage& raw, const Switches& switches) {
  try {
    return switches.repairs.subject ? decode_unfolded(raw.subject) : rfc1522_decode(raw.subject);
  } catch (const quern::ExError&) {
    warn_unconverted("subject", raw.text.charset);
    return {};
  }
}

}  // namespace

ExtractionResult extract(DwString message_text, const std::optional<std::string>& delivered_to,
                         const Switches& switches, IncomingMessage& record) {
  RawMessage raw;
  const Extraction outcome = take_apart(message_text, delivered_to, switches, raw);
  if (outcome != Extraction::kDone) return {outcome, raw.sender_field, std::move(raw.sender)};
  BodyBytes body = take_body(raw.text, message_text.length());
  message_text = DwString();  // only what was decoded is needed from here on
  record.body_lines = std::make_unique<BodyLines>(lines_of(std::move(body), raw.text.charset));
  record.sender = std::move(raw.sender);
  record.SetRecipient(std::move(raw.recipient));
  record.subject = subject_in_utf8(raw, switches);
  raw.subject = std::string();
  record.date = std::move(raw.date);
  record.charset = std::move(raw.text.charset);
  record.courtesy = std::move(raw.courtesy);
  return {outcome, raw.sender_field, {}};
}
