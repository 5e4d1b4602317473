#include "mimelib/entity.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "mimelib/view.h"

namespace {

constexpr auto npos = std::string_view::npos;

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// The length of the line end at the start of `text`; 0 if there is none.
size_t line_end_length(std::string_view text) {
  if (starts_with(text, "\n")) return 1;
  return starts_with(text, "\r\n") ? 2 : 0;
}

bool is_header_line(std::string_view line) {
  return starts_with(line, " ") || starts_with(line, "\t") || line.find(':') != npos;
}

// The length of the header: up to an empty line, or to a line that is no part of it.
size_t header_length(std::string_view text) {
  size_t line = 0;
  while (line < text.size() && line_end_length(text.substr(line)) == 0) {
    const size_t end = text.find('\n', line);
    if (end == npos) return text.size();
    if (!is_header_line(text.substr(line, end - line))) return line;
    line = end + 1;
  }
  return line;
}

// A delimiter line of a multipart body, with the line end before it (RFC 2046, 5.1.1).
struct Delimiter {
  size_t start;
  size_t end;
  bool closes;
};

size_t skip(std::string_view text, std::string_view bytes, size_t position) {
  return std::min(text.find_first_not_of(bytes, position), text.size());
}

// Reads the delimiter line at the start of `text`; false if that line is none. Kept: any number of
// hyphens after the boundary closes the multipart, not only two.
bool read_delimiter(std::string_view text, std::string_view boundary, size_t& length,
                    bool& closes) {
  if (!starts_with(text, "--") || !starts_with(text.substr(2), boundary)) return false;
  const size_t boundary_end = 2 + boundary.size();
  const size_t hyphens_end = skip(text, "-", boundary_end);
  const size_t blanks_end = skip(text, " \t", hyphens_end);
  const size_t line_end = line_end_length(text.substr(blanks_end));
  closes = hyphens_end > boundary_end;
  length = blanks_end + line_end;
  return line_end > 0 || blanks_end == text.size();
}

// The first delimiter at or after `from`, the start of a line; its start is npos if there is none.
Delimiter find_delimiter(std::string_view text, std::string_view boundary, size_t from) {
  for (size_t line = from; line < text.size();) {
    size_t length = 0;
    bool closes = false;
    if (read_delimiter(text.substr(line), boundary, length, closes)) {
      size_t start = line;
      if (start > from) --start;
      if (start > from && text[start - 1] == '\r') --start;
      return {start, line + length, closes};
    }
    const size_t end = text.find('\n', line);
    if (end == npos) break;
    line = end + 1;
  }
  return {npos, npos, true};
}

}  // namespace

DwBody::DwBody(const DwString& body, bool is_multipart, DwString boundary)
    : DwMessageComponent(body), is_multipart_(is_multipart), boundary_(std::move(boundary)) {}

DwBody::~DwBody() = default;

DwBodyPart* DwBody::FirstBodyPart() {
  if (!is_multipart_) return nullptr;
  const Delimiter opening = find_delimiter(text(), view_of(boundary_), 0);
  return ParsePartAt(opening.end);
}

DwBodyPart* DwBody::ParsePartAt(size_t position) {
  if (position >= text().size()) return nullptr;
  const Delimiter next = find_delimiter(text(), view_of(boundary_), position);
  const DwString part = Slice(text().substr(position, next.start - position));
  return kept_.Add(std::make_unique<DwBodyPart>(part, this, next.closes ? npos : next.end));
}

DwEntity::DwEntity(const DwString& entity)
    : DwMessageComponent(entity),
      headers_(std::make_unique<DwHeaders>(DwString())),
      body_(std::make_unique<DwBody>(DwString(), false, DwString())) {}

void DwEntity::Parse() {
  const size_t header = header_length(text());
  const size_t body = header + line_end_length(text().substr(header));
  headers_ = std::make_unique<DwHeaders>(Slice(text().substr(0, header)));
  DwMediaType& type = headers_->ContentType();
  const bool is_multipart = type.Type() == DwMime::kTypeMultipart;
  body_ = std::make_unique<DwBody>(Slice(text().substr(body)), is_multipart,
                                   is_multipart ? type.Boundary() : DwString());
}

DwBodyPart::DwBodyPart(const DwString& part, DwBody* owner, size_t resume)
    : DwEntity(part), owner_(owner), resume_(resume) {
  Parse();
}

DwBodyPart* DwBodyPart::Next() const {
  if (next_ == nullptr) next_ = owner_->ParsePartAt(resume_);
  return next_;
}

DwMessage* DwMessage::NewMessage(const DwString& text, DwMessageComponent* /*parent*/) {
  return new DwMessage(text);
}
