#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>
#include <nlohmann/json.hpp>

#include "../named_row.h"
#include "../parsed_message.h"
#include "../recorded_bytes.h"

// Reads recorded messages by the calls that the program uses. A character of a string in the file
// is one byte; null means none.

namespace {

using nlohmann::json;

// Addresses, subject, date and charset end at their first NUL, the body does not.
std::string up_to_nul(const DwString& text) {
  return bytes_of(text).c_str();
}

std::optional<std::string> optional_bytes(const json& value) {
  if (value.is_null()) return std::nullopt;
  return recorded_bytes(value.get<std::string>());
}

std::string address_of(const DwMailbox& mailbox) {
  return up_to_nul(mailbox.LocalPart()) + "@" + up_to_nul(mailbox.Domain());
}

std::optional<std::string> first_listed(DwAddressList& list) {
  for (const DwAddress* entry = list.FirstAddress(); entry != nullptr; entry = entry->Next()) {
    if (entry->IsValid() && !entry->IsGroup() && entry->IsMailbox()) {
      return address_of(*static_cast<const DwMailbox*>(entry));
    }
  }
  return std::nullopt;
}

std::optional<std::string> first_valid(DwMailboxList& list) {
  for (const DwAddress* entry = list.FirstMailbox(); entry != nullptr; entry = entry->Next()) {
    if (entry->IsValid()) return address_of(*static_cast<const DwMailbox*>(entry));
  }
  return std::nullopt;
}

std::optional<std::string> sender_of(DwHeaders& headers) {
  std::optional<std::string> sender;
  if (headers.HasReplyTo()) sender = first_listed(headers.ReplyTo());
  if (!sender && headers.HasFrom()) sender = first_valid(headers.From());
  return sender;
}

std::string charset_of(DwEntity& entity) {
  const DwParameter* parameter = entity.Headers().ContentType().FirstParameter();
  for (; parameter != nullptr; parameter = parameter->Next()) {
    DwString name = parameter->Attribute();
    name.ConvertToLowerCase();
    if (name == "charset") return up_to_nul(parameter->Value());
  }
  return "US-ASCII";
}

std::string decoded_body_of(DwEntity& entity) {
  DwHeaders& headers = entity.Headers();
  const int encoding = headers.HasContentTransferEncoding()
                           ? headers.ContentTransferEncoding().AsEnum()
                           : static_cast<int>(DwMime::kCteNull);
  const DwString& body = entity.Body().AsString();
  DwString decoded = body;
  if (encoding == DwMime::kCteBase64) DwDecodeBase64(body, decoded);
  if (encoding == DwMime::kCteQuotedPrintable) DwDecodeQuotedPrintable(body, decoded);
  return bytes_of(decoded);
}

// The message itself, its first text part, or null.
DwEntity* text_part_of(DwMessage& message) {
  DwHeaders& headers = message.Headers();
  const int type =
      headers.HasContentType() ? headers.ContentType().Type() : static_cast<int>(DwMime::kTypeText);
  if (type == DwMime::kTypeText) return &message;
  if (type != DwMime::kTypeMultipart) return nullptr;
  DwBodyPart* part = message.Body().FirstBodyPart();
  for (; part != nullptr; part = part->Next()) {
    DwHeaders& of_part = part->Headers();
    if (of_part.HasContentType() && of_part.ContentType().Type() == DwMime::kTypeText) return part;
  }
  return nullptr;
}

void expect_as_recorded(const json& row) {
  // The program ends every message with a newline of its own.
  const std::string text = recorded_bytes(row.at("message").get<std::string>()) + "\n";
  const auto message = parsed(text);
  DwHeaders& headers = message->Headers();

  EXPECT_EQ(sender_of(headers), optional_bytes(row.at("sender")));
  std::optional<std::string> to;
  if (headers.HasTo()) to = first_listed(headers.To());
  EXPECT_EQ(to, optional_bytes(row.at("to")));
  std::string subject;
  if (headers.HasSubject()) subject = up_to_nul(headers.Subject().AsString());
  EXPECT_EQ(subject, optional_bytes(row.at("subject")));
  std::string date;
  if (headers.HasDate()) date = up_to_nul(headers.Date().AsString());
  EXPECT_EQ(date, optional_bytes(row.at("date")));

  std::string charset = "US-ASCII";
  std::string body;
  if (DwEntity* const part = text_part_of(*message)) {
    charset = charset_of(*part);
    body = decoded_body_of(*part);
  }
  EXPECT_EQ(charset, optional_bytes(row.at("charset")));
  EXPECT_EQ(body, optional_bytes(row.at("body")));
}

const json& recorded_messages() {
  static const json kMessages = [] {
    DwInitialize();
    std::ifstream file(TEST_DATA_DIR "/messages.json");
    return json::parse(file);
  }();
  return kMessages;
}

struct Kind : NamedRow {
  const char* kind;
  int count;
};

class RecordedMessages : public testing::TestWithParam<Kind> {};

TEST_P(RecordedMessages, AreReadAsRecorded) {
  int count = 0;
  int number = 0;
  for (const json& row : recorded_messages()) {
    ++number;
    if (row.at("kind") != GetParam().kind) continue;
    SCOPED_TRACE(testing::Message() << "message " << number << ": " << row.at("message").dump());
    expect_as_recorded(row);
    ++count;
  }
  EXPECT_EQ(count, GetParam().count);
}

constexpr Kind kKinds[] = {
    {"ReplyTo", "reply-to", 460},   {"From", "from", 223},
    {"Headers", "headers", 72},     {"Type", "type", 209},
    {"PartType", "part-type", 119}, {"Multipart", "multipart", 279},
    {"Encoding", "encoding", 64},   {"QuotedPrintable", "quoted-printable", 76},
    {"Base64", "base64", 55},
};

INSTANTIATE_TEST_SUITE_P(Kinds, RecordedMessages, testing::ValuesIn(kKinds));

TEST(RecordedMessages, AreAllOfAKnownKind) {
  EXPECT_EQ(recorded_messages().size(), 1557U);
}

}  // namespace
