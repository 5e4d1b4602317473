#include "autoresponder/intake/message_parts.h"

#include <cstring>

#include "autoresponder/message/incoming_message.h"
#include "support/base/text.h"

namespace {

int type_of(DwEntity& entity, int type_without_field) {
  DwHeaders& headers = entity.Headers();
  return headers.HasContentType() ? headers.ContentType().Type() : type_without_field;
}

DwBodyPart* first_text_part(DwBody& body) {
  DwBodyPart* part = body.FirstBodyPart();
  while (part != nullptr && type_of(*part, DwMime::kTypeNull) != DwMime::kTypeText) {
    part = part->Next();
  }
  return part;
}

}  // namespace

const DwMailbox* first_listed_mailbox(DwAddressList& addresses) {
  for (const DwAddress* entry = addresses.FirstAddress(); entry != nullptr; entry = entry->Next()) {
    const bool usable = entry->IsValid() && !entry->IsGroup() && entry->IsMailbox();
    if (usable) return static_cast<const DwMailbox*>(entry);
  }
  return nullptr;
}

const DwMailbox* first_valid_mailbox(DwMailboxList& mailboxes) {
  const DwAddress* entry = mailboxes.FirstMailbox();
  while (entry != nullptr && !entry->IsValid()) entry = entry->Next();
  return static_cast<const DwMailbox*>(entry);
}

std::string mailbox_address(const DwMailbox& mailbox) {
  const DwString& local_part = mailbox.LocalPart();
  const DwString& domain = mailbox.Domain();
  std::string address =
      joined({{local_part.data(), local_part.length()}, "@", {domain.data(), domain.length()}});
  address.resize(strlen(address.c_str()));
  return address;
}

TextPart find_text_part(DwMessage& message) {
  DwEntity* chosen = nullptr;
  const int type = type_of(message, DwMime::kTypeText);
  if (type == DwMime::kTypeText) chosen = &message;
  if (type == DwMime::kTypeMultipart) chosen = first_text_part(message.Body());
  TextPart text{std::string(kDefaultCharset), {}};
  if (chosen != nullptr) {
    text.charset = content_type_charset(*chosen);
    decoded_body_text(*chosen, text.body);
  }
  return text;
}

std::string content_type_charset(DwEntity& entity) {
  const DwParameter* parameter = entity.Headers().ContentType().FirstParameter();
  for (; parameter != nullptr; parameter = parameter->Next()) {
    DwString name = parameter->Attribute();
    name.ConvertToLowerCase();
    if (name == "charset") return std::string(up_to_nul(parameter->Value()));
  }
  return std::string(kDefaultCharset);
}

void decoded_body_text(DwEntity& entity, DwString& out) {
  DwHeaders& headers = entity.Headers();
  const int encoding = headers.HasContentTransferEncoding()
                           ? headers.ContentTransferEncoding().AsEnum()
                           : DwMime::kCteNull;
  const DwString& body = entity.Body().AsString();
  if (encoding == DwMime::kCteBase64) {
    DwDecodeBase64(body, out);
  } else if (encoding == DwMime::kCteQuotedPrintable) {
    DwDecodeQuotedPrintable(body, out);
  } else {
    out = body;
  }
}

std::string_view up_to_nul(const DwString& text) {
  const std::string_view bytes(text.data(), text.length());
  return bytes.substr(0, bytes.find('\0'));
}
