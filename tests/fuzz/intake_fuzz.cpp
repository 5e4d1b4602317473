// Runs the whole intake, from the bytes on standard input to the record, and sends the record to
// the run.
//
// An input is: a line that, where it begins with "=", sets RECIPIENT to what follows it, and the
// message.

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include <mimelib/mimepp.h>

#include "../memory_file.h"
#include "../parsed_message.h"
#include "autoresponder/intake/extraction.h"
#include "autoresponder/intake/message_parts.h"
#include "autoresponder/message/body_lines.h"
#include "autoresponder/run/incoming.h"
#include "field_text.h"
#include "fuzz.h"
#include "mime/charset.h"
#include "mime/encoded_word.h"
#include "received.h"
#include "support/base/ex_error.h"

namespace {

// Uses `putenv` with a static buffer: `setenv` would keep the value of every earlier run.
void set_recipient(const std::string& line) {
  static char variable[4096];
  if (line.empty() || line[0] != '=') {
    unsetenv("RECIPIENT");
    return;
  }
  snprintf(variable, sizeof variable, "RECIPIENT=%s", line.c_str() + 1);
  putenv(variable);
}

// Puts `text` on standard input, by a file in memory.
void put_on_standard_input(const std::string& text) {
  static const int file = memfd_create("input", 0);
  const auto size = static_cast<ssize_t>(text.size());
  require(dup2(file, STDIN_FILENO) == STDIN_FILENO && ftruncate(file, 0) == 0 &&
              pwrite(file, text.data(), text.size(), 0) == size && lseek(file, 0, SEEK_SET) == 0,
          "standard input holds the message");
}

// A spool file in memory.
class Spool {
 public:
  Spool() : memory_(memfd_create("spool", 0)), file_(memory_, "no name") {}

  SpoolFile& file() { return file_; }

  std::string Text() const {
    const std::optional<std::string> text = contents_of(memory_);
    require(text.has_value(), "the spool file can be read");
    return *text;
  }

 private:
  int memory_;
  SpoolFile file_;
};

// A field's text up to its first NUL, as far as it is passed on.
std::string raw_field(DwMessageComponent& field) {
  return bytes_of(field.AsString()).c_str();
}

// Whether an address ends before its first NUL and holds nothing that ends a header field.
bool is_safe_address(std::string_view address) {
  return address.find('\0') == std::string_view::npos && stays_in_its_field(address);
}

void check_recipient(const IncomingMessage& record) {
  const size_t at = record.recipient.find('@');
  if (at == std::string::npos) {
    require(record.recipient_mailname == record.recipient, "without @ the name is all of it");
    require(record.recipient_domain == record.recipient, "without @ the domain is all of it");
  } else {
    require(record.recipient_mailname.find('@') == std::string::npos, "the first @ counts");
    require(record.recipient_mailname + "@" + record.recipient_domain == record.recipient,
            "name and domain make the recipient");
  }
  if (const char* const variable = getenv("RECIPIENT")) {
    const char* const dash = strchr(variable, '-');
    require(record.recipient == (dash != nullptr ? dash + 1 : variable),
            "RECIPIENT counts after its first dash");
  } else {
    require(is_safe_address(record.recipient), "a recipient from the message stays in its field");
  }
}

std::string in_utf8(const TextPart& text) {
  const std::string body(up_to_nul(text.body));
  try {
    return convert_charset(body, text.charset, "UTF-8", true);
  } catch (const quern::ExError&) {
    return body;
  }
}

// The number of the line in which `key` is first, counted line by line.
size_t first_line_with(const std::string& text, const std::string& key) {
  size_t number = 1;
  for (size_t start = 0;; ++number) {
    const size_t end = text.find('\n', start);
    if (text.substr(start, end - start).find(key) != std::string::npos) return number;
    if (end == std::string::npos) return 0;
    start = end + 1;
  }
}

size_t first_with(BodyLines& lines, std::string_view key) {
  return lines.FirstWith({key})[0];
}

void check_lines(BodyLines& lines, const TextPart& text) {
  std::string joined;
  lines.WriteTo([&joined](std::string_view piece) {
    joined += piece;
    return true;
  });
  require(joined == in_utf8(text), "the lines are the text");
  require(first_with(lines, "") == 1, "an empty key is in every line");
  require(first_with(lines, "\n") == 0, "no key stands in two lines");
  // A key from the text, and a longer one that is hardly in any line.
  std::string key = joined.substr(joined.size() / 3, 5);
  key = key.substr(0, key.find('\n'));
  for (const std::string& wanted : {key, key + "~"}) {
    require(first_with(lines, wanted) == first_line_with(joined, wanted),
            "a key is found in its first line");
  }
}

void check_fields(const IncomingMessage& record, DwHeaders& headers) {
  require(record.date == (headers.HasDate() ? raw_field(headers.Date()) : ""),
          "the date stands as it was written");
  const std::string raw = headers.HasSubject() ? raw_field(headers.Subject()) : "";
  std::string expected;
  try {
    expected = rfc1522_decode(raw);
  } catch (const quern::ExError&) {
  }
  require(record.subject == expected, "the subject is decoded, or else empty");
}

void check(const IncomingMessage& record, DwMessage& message) {
  require(!record.sender.empty() && is_safe_address(record.sender),
          "the sender stays in its field");
  check_recipient(record);
  check_fields(record, message.Headers());
  const TextPart text = find_text_part(message);
  require(record.charset == text.charset, "the charset is the text's");
  check_lines(dynamic_cast<BodyLines&>(*record.body_lines), text);
}

// The intake's result; nothing if the decoder threw for the subject.
std::optional<ExtractionResult> take_in(SpoolFile& spool, IncomingMessage& record) {
  MessageBuffer message = spool_standard_input(spool);
  const char* const address = delivery_address();
  const auto delivered_to =
      address != nullptr ? std::make_optional(std::string(address)) : std::nullopt;
  try {
    return extract(message.Take<DwString>(), delivered_to, {all_repairs(false), /*courtesy=*/true},
                   record);
  } catch (const std::out_of_range&) {
    return std::nullopt;
  }
}

std::string sent(const ExtractionResult& result, IncomingMessage& record) {
  std::string bytes;
  Sender sender([&bytes](const char* part, size_t length) { bytes.append(part, length); });
  send_result(sender, result, record);
  return bytes;
}

// The run receives the result unchanged. With one bit changed it refuses it, or it is a result that
// another message could give.
void check_transfer(const ExtractionResult& result, IncomingMessage& record, size_t message_size) {
  const size_t changed = message_size * 7;
  require(is_well_formed(record, message_size), "the record is well-formed");
  const Assignment assignment{message_size, delivery_address(), {}};
  // The reader does not know the address of the delivery.
  const std::string recipient = record.recipient;
  if (assignment.delivered_to != nullptr) record.recipient.clear();
  std::string bytes = sent(result, record);
  record.recipient = recipient;
  IncomingMessage other;
  require(received(bytes, assignment, other).has_value(), "a result is taken over");
  require(other.sender == record.sender && other.recipient == record.recipient &&
              other.subject == record.subject && other.date == record.date &&
              other.charset == record.charset &&
              other.courtesy.addressees == record.courtesy.addressees &&
              other.courtesy.references == record.courtesy.references &&
              other.courtesy.message_id == record.courtesy.message_id,
          "the texts arrive");
  bytes[changed % bytes.size()] ^= static_cast<char>(1 << changed % 8);
  IncomingMessage changed_record;
  const auto changed_result = received(bytes, assignment, changed_record);
  if (changed_result && changed_result->outcome == Extraction::kDone) {
    check_received(changed_record, assignment.message_size);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const CapturedDiagnostics diagnostics;
  Input input(data, size);
  set_recipient(input.UpTo('\n'));
  const std::string text = input.Rest();
  const std::string spooled = text + "\n";
  const std::unique_ptr<DwMessage> message = parsed(spooled);
  DwHeaders& headers = message->Headers();

  put_on_standard_input(text);
  Spool spool;
  IncomingMessage record;
  const auto result = take_in(spool.file(), record);
  require(spool.Text() == spooled, "the spool file is the input and a newline");
  if (!result) {
    require(headers.HasSubject() && ends_in_word_and_blanks(raw_field(headers.Subject())),
            "nothing but a subject's last blanks throws");
    return 0;
  }
  if (result->outcome == Extraction::kDone) {
    check(record, *message);
    check_transfer(*result, record, spooled.size());
  } else {
    require(diagnostics.Text().find("Could not get ") == 0, "a failure is told");
    require(record.sender.empty(), "a failure leaves no record");
  }
  return 0;
}
