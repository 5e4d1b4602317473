#include "autoresponder/reader/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sys/types.h>

#include "autoresponder/reader/reader_failure.h"
#include "support/base/diagnose.h"

namespace {

ssize_t send_text(void* sender, const char* bytes, size_t length) {
  Sender& to = *static_cast<Sender*>(sender);
  const size_t sent = std::min(length, kMaxDiagnostics);
  to.Number(kDiagnostics);
  to.Text({bytes, sent});
  return static_cast<ssize_t>(sent);
}

// How a line of the intake begins, and how many bytes can follow.
struct Form {
  std::string_view start;
  size_t max_rest = std::string_view::npos;
};

constexpr Form kForms[] = {
    {"wrong rfc1522 sequence (no charset): =?"},
    {"wrong rfc1522 sequence (no encoding): =?"},
    {"wrong rfc1522 sequence (no data): =?"},
    {"wrong rfc1522 sequence (trailing stuff): =?"},
    {"Bad hex in quoted-printable string: ", 2},
    {"Bad base64 symbol: ", 1},
    {"Could not convert message body text from "},
    {"Could not convert message subject text from "},
    {"Could not get sender's e-mail address from Reply-To: or From: headers.", 0},
    {"Could not get recipient's e-mail address from environment variable RECIPIENT or To: header.",
     0},
};

// A token or a charset that was folded in the message goes on in a line that begins with a blank,
// or ends in an empty line.
bool can_be_of_intake(std::string_view line) {
  if (line.empty() || line[0] == ' ' || line[0] == '\t') return true;
  return std::any_of(std::begin(kForms), std::end(kForms), [line](const Form& form) {
    return line.substr(0, form.start.size()) == form.start &&
           line.size() - form.start.size() <= form.max_rest;
  });
}

// Most comes of bytes that are no symbols of base64: 21 for each.
constexpr uint64_t kMaxPerByte = 24;
constexpr uint64_t kMaxWithoutBytes = 256;

}  // namespace

bool send_standard_error(Sender& sender) {
  FILE* const stream = fopencookie(&sender, "w", {nullptr, send_text, nullptr, nullptr});
  if (stream == nullptr) return false;
  stderr = stream;  // a variable in the GNU C library
  return true;
}

DiagnosticsRelay::DiagnosticsRelay(size_t message_size)
    : left_(kMaxWithoutBytes + kMaxPerByte * message_size) {}

void DiagnosticsRelay::Add(std::string_view text) {
  if (text.size() > left_) throw ReaderFailure();
  left_ -= text.size();
  for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    line_ += text.substr(0, end);
    if (!can_be_of_intake(line_)) throw ReaderFailure();
    diagnose({line_});
    line_.clear();
    text.remove_prefix(end + 1);
  }
  line_ += text;
}

void DiagnosticsRelay::End() const {
  if (!line_.empty()) throw ReaderFailure();
}
