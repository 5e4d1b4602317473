// Reads a whole message with the message library: every accessor, list and decoder.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <mimelib/mimepp.h>

#include "../parsed_message.h"
#include "../with_crlf.h"
#include "field_text.h"
#include "fuzz.h"

namespace {

// One level more than the program looks at: a message's parts, but not theirs.
constexpr int kMaxDepth = 2;

std::string_view bytes(const DwString& text) {
  return {text.data(), text.length()};
}

bool lies_within(std::string_view part, std::string_view whole) {
  const std::less_equal<> in_order;
  return part.empty() || (in_order(whole.data(), part.data()) &&
                          in_order(part.data() + part.size(), whole.data() + whole.size()));
}

// Whether `source` contains the bytes of `made` in their order; a blank may have been a line end.
bool comes_from(std::string_view made, std::string_view source) {
  for (const char c : made) {
    const size_t found = c == ' ' ? source.find_first_of(" \r\n") : source.find(c);
    if (found == std::string_view::npos) return false;
    source.remove_prefix(found + 1);
  }
  return true;
}

std::string without(std::string_view text, char unwanted) {
  std::string kept;
  for (const char c : text) {
    if (c != unwanted) kept += c;
  }
  return kept;
}

// All that the library returns for one text, in order.
class Walk {
 public:
  explicit Walk(const std::string& text) {
    const std::unique_ptr<DwMessage> message = parsed(text);
    require(bytes(message->AsString()) == text, "a message is its text");
    Entity(*message, 0);
  }

  /// Bytes of the message, copied or decoded.
  std::vector<std::string> texts;
  /// Local parts, numbers, and decoded quoted-printable: free of the message's line ends.
  std::vector<std::string> values;
  /// Decoded base64. Its shortest texts are special, so line ends count in it.
  std::vector<std::string> base64;

 private:
  void Text(const DwString& text) { texts.emplace_back(bytes(text)); }
  void Value(int value) { values.push_back(std::to_string(value)); }

  void Mailbox(const DwMailbox& mailbox, std::string_view entry) {
    const std::string_view local_part = bytes(mailbox.LocalPart());
    const std::string_view domain = bytes(mailbox.Domain());
    require(local_part.find_first_of("\r\n") == std::string::npos, "a local part is one line");
    require(stays_in_its_field(domain), "a domain stays in its field");
    require(comes_from(std::string(local_part).append(domain), entry),
            "an address stands in its entry");
    require(mailbox.IsValid() == (mailbox.LocalPart().length() > 0),
            "a mailbox with a local part is valid");
    values.emplace_back(local_part);
    Text(mailbox.Domain());
  }

  void Addresses(DwAddress* address, std::string_view list, bool with_groups) {
    size_t count = 0;
    const char* last = list.data();
    for (; address != nullptr; address = address->Next()) {
      const std::string_view entry = bytes(address->AsString());
      require(!entry.empty() && lies_within(entry, list), "an entry lies within its list");
      require(count == 0 || entry.data() > last, "entries follow one another");
      require(address->IsGroup() != address->IsMailbox(), "an entry is a group or a mailbox");
      require(with_groups || address->IsMailbox(), "a mailbox list has no groups");
      last = entry.data();
      ++count;
      Text(address->AsString());
      Value(address->IsGroup() ? 1 : 0);
      if (address->IsMailbox()) Mailbox(*static_cast<DwMailbox*>(address), entry);
    }
    require(count == 0 || 2 * count - 1 <= list.size(), "a comma stands between two entries");
  }

  void Parameters(DwMediaType& type) {
    const std::string_view field = bytes(type.AsString());
    size_t count = 0;
    for (const DwParameter* p = type.FirstParameter(); p != nullptr; p = p->Next()) {
      ++count;
      require(p->Attribute().length() > 0, "a parameter has a name");
      require(lies_within(bytes(p->Attribute()), field), "a name lies within its field");
      require(lies_within(bytes(p->Value()), field), "a value lies within its field");
      Text(p->Attribute());
      Text(p->Value());
    }
    require(4 * count <= field.size(), "a parameter takes four bytes or more");
  }

  void Fields(DwHeaders& headers) {
    const std::string_view all = bytes(headers.AsString());
    const bool has[] = {headers.HasReplyTo(),
                        headers.HasFrom(),
                        headers.HasTo(),
                        headers.HasSubject(),
                        headers.HasDate(),
                        headers.HasContentType(),
                        headers.HasContentTransferEncoding()};
    DwMessageComponent* const fields[] = {&headers.ReplyTo(),
                                          &headers.From(),
                                          &headers.To(),
                                          &headers.Subject(),
                                          &headers.Date(),
                                          &headers.ContentType(),
                                          &headers.ContentTransferEncoding()};
    for (size_t i = 0; i < std::size(fields); ++i) {
      const std::string_view field = bytes(fields[i]->AsString());
      require(lies_within(field, all), "a field lies within the header");
      require(has[i] || field.empty(), "a missing field is empty");
      Value(has[i] ? 1 : 0);
      Text(fields[i]->AsString());
    }
    Addresses(headers.ReplyTo().FirstAddress(), bytes(headers.ReplyTo().AsString()), true);
    Addresses(headers.From().FirstMailbox(), bytes(headers.From().AsString()), false);
    Addresses(headers.To().FirstAddress(), bytes(headers.To().AsString()), true);
    Value(headers.ContentType().Type());
    Value(headers.ContentTransferEncoding().AsEnum());
    Parameters(headers.ContentType());
  }

  void Decoded(const DwString& body) {
    DwString out;
    DwDecodeQuotedPrintable(body, out);
    require(out.length() <= body.length(), "quoted-printable never grows");
    values.emplace_back(bytes(out));
    DwDecodeBase64(body, out);
    require(out.length() <= body.length(), "base64 never grows");
    base64.emplace_back(body.length() > 5 ? bytes(out) : std::string_view());
  }

  void Parts(DwBody& body, size_t boundary_length, int depth) {
    const std::string_view whole = bytes(body.AsString());
    size_t count = 0;
    for (DwBodyPart* part = body.FirstBodyPart(); part != nullptr; part = part->Next()) {
      ++count;
      require(lies_within(bytes(part->AsString()), whole), "a part lies within its body");
      Entity(*part, depth + 1);
    }
    require(count * (boundary_length + 3) <= whole.size(), "a delimiter line opens each part");
  }

  void Entity(DwEntity& entity, int depth) {
    const std::string_view whole = bytes(entity.AsString());
    const std::string_view header = bytes(entity.Headers().AsString());
    const std::string_view body = bytes(entity.Body().AsString());
    require(header.size() + body.size() <= whole.size(), "header and body do not overlap");
    require(whole.substr(0, header.size()) == header, "the header starts the text");
    require(whole.substr(whole.size() - body.size()) == body, "the body ends the text");
    const std::string_view gap =
        whole.substr(header.size(), whole.size() - header.size() - body.size());
    require(gap.empty() || gap == "\n" || gap == "\r\n", "an empty line stands between them");
    Text(entity.Headers().AsString());
    Text(entity.Body().AsString());
    Fields(entity.Headers());
    Decoded(entity.Body().AsString());
    const size_t boundary_length = entity.Headers().ContentType().Boundary().length();
    if (depth < kMaxDepth) Parts(entity.Body(), boundary_length, depth);
  }
};

void compare_line_ends(const std::string& text) {
  const std::string lf = without(text, '\r');
  const Walk unix_walk(lf);
  const Walk mail_walk(with_crlf(lf));
  require(unix_walk.values == mail_walk.values, "line ends do not change addresses and codes");
  require(unix_walk.texts.size() == mail_walk.texts.size(), "line ends do not change the parts");
  for (size_t i = 0; i < unix_walk.texts.size(); ++i) {
    require(unix_walk.texts[i] == without(mail_walk.texts[i], '\r'),
            "line ends do not change what is found where");
  }
  for (size_t i = 0; i < unix_walk.base64.size(); ++i) {
    if (unix_walk.base64[i].empty()) continue;  // kept: so short a text may decode to NULs
    require(unix_walk.base64[i] == mail_walk.base64[i], "line ends do not change base64");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = Input(data, size).Rest();
  const Walk first(text);
  const Walk second(text);
  require(
      first.texts == second.texts && first.values == second.values && first.base64 == second.base64,
      "a text is read the same way every time");
  compare_line_ends(text);
  return 0;
}
