// The wire between child and parent: diagnostics.
#include "autoresponder/reader/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "autoresponder/reader/reader_failure.h"
#include "support/base/text.h"

namespace {

ssize_t send_text(void* sender, const char* bytes, size_t length) {
  Sender& to = *static_cast<Sender*>(sender);
  for (size_t at = 0; at < length; at += kMaxDiagnostics) {
    to.Number(kDiagnostics);
    to.Text({bytes + at, std::min(length - at, kMaxDiagnostics)});
  }
  return static_cast<ssize_t>(length);
}

// How a diagnostic of the intake begins, and how many bytes may follow.
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

bool is_of_form(std::string_view line, const Form& form) {
  return line.substr(0, form.start.size()) == form.start &&
         line.size() - form.start.size() <= form.max_rest;
}

// The worst case is base64 with invalid symbols: each gives a line of 21 bytes.
constexpr uint64_t kMaxPerByte = 24;
constexpr uint64_t kMaxWithoutBytes = 256;
constexpr uint64_t kMaxLinesWithoutBytes = 8;

}  // namespace

bool send_standard_error(Sender& sender) {
  FILE* const stream = fopencookie(&sender, "w", {nullptr, send_text, nullptr, nullptr});
  if (stream == nullptr) return false;
  stderr = stream;  // the GNU C library allows that
  return true;
}

DiagnosticsRelay::DiagnosticsRelay(size_t message_size)
    : left_(kMaxWithoutBytes + kMaxPerByte * message_size),
      lines_left_(kMaxLinesWithoutBytes + message_size),
      max_line_(kMaxWithoutBytes + message_size) {}

// A diagnostic may quote folded text of the message: it continues in lines that begin with a blank,
// or ends in an empty line.
bool DiagnosticsRelay::CanBeOfIntake(std::string_view line) {
  const bool continues = line.empty() || line[0] == ' ' || line[0] == '\t';
  if (continues) return may_continue_;
  const auto* const form = std::find_if(std::begin(kForms), std::end(kForms),
                                        [line](const Form& one) { return is_of_form(line, one); });
  may_continue_ = form != std::end(kForms) && form->max_rest == std::string_view::npos;
  return form != std::end(kForms);
}

void DiagnosticsRelay::Add(std::string_view text) {
  if (text.empty() || text.size() > left_) throw ReaderFailure();
  left_ -= text.size();
  for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    line_ += text.substr(0, end);
    if (lines_left_-- == 0 || !CanBeOfIntake(line_)) throw ReaderFailure();
    diagnose({line_});
    line_.clear();
    text.remove_prefix(end + 1);
  }
  line_ += text;
  if (line_.size() > max_line_) throw ReaderFailure();
}

void DiagnosticsRelay::End() const {
  if (!line_.empty()) throw ReaderFailure();
}
