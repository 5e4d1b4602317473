#include "mimelib/media_type.h"

#include <memory>
#include <string_view>
#include <utility>

#include "mimelib/lexer.h"
#include "mimelib/view.h"
#include "support/base/letter_case.h"

namespace {

using Kind = Token::Kind;

struct NamedCode {
  std::string_view name;
  int code;
};

constexpr NamedCode kTypes[] = {
    {"text", DwMime::kTypeText},       {"multipart", DwMime::kTypeMultipart},
    {"message", DwMime::kTypeMessage}, {"application", DwMime::kTypeApplication},
    {"image", DwMime::kTypeImage},     {"audio", DwMime::kTypeAudio},
    {"video", DwMime::kTypeVideo},     {"model", DwMime::kTypeModel},
};

constexpr NamedCode kEncodings[] = {
    {"7bit", DwMime::kCte7bit},     {"8bit", DwMime::kCte8bit},
    {"binary", DwMime::kCteBinary}, {"quoted-printable", DwMime::kCteQuotedPrintable},
    {"base64", DwMime::kCteBase64},
};

template <size_t count>
int code_of(const NamedCode (&codes)[count], std::string_view name, int unknown) {
  for (const NamedCode& entry : codes) {
    if (equal_ignoring_case(entry.name, name)) return entry.code;
  }
  return unknown;
}

// The next token that can be a name; the end if there is none.
Token seek_atom(Lexer& lexer) {
  Token token = lexer.Next();
  while (token.kind != Kind::kEnd && token.kind != Kind::kAtom) token = lexer.Next();
  return token;
}

// The next token that can be the value of a parameter; the end if there is none.
Token seek_value(Lexer& lexer) {
  Token token = lexer.Next();
  while (token.kind != Kind::kEnd && !token.IsWord()) token = lexer.Next();
  return token;
}

std::string_view without_quotes(const Token& token) {
  return token.kind == Kind::kQuoted ? token.text.substr(1, token.text.size() - 2) : token.text;
}

}  // namespace

DwParameter::DwParameter(DwString attribute, DwString value, DwMediaType* owner, size_t resume)
    : attribute_(std::move(attribute)), value_(std::move(value)), owner_(owner), resume_(resume) {}

DwParameter* DwParameter::Next() const {
  if (next_ == nullptr) next_ = owner_->ParseParameterAt(resume_);
  return next_;
}

DwMediaType::DwMediaType(const DwString& field) : DwMessageComponent(field) {
  Lexer lexer(text(), Lexer::Syntax::kMime);
  const Token type = seek_atom(lexer);
  if (type.kind == Kind::kAtom) type_ = code_of(kTypes, type.text, DwMime::kTypeUnknown);
  lexer.SkipPast('/');
  seek_atom(lexer);
  parameters_start_ = lexer.position();
}

DwParameter* DwMediaType::ParseParameterAt(size_t position) {
  Lexer lexer(text(), Lexer::Syntax::kMime, position);
  lexer.SkipPast(';');
  const Token attribute = seek_atom(lexer);
  lexer.SkipPast('=');
  const Token value = seek_value(lexer);
  if (attribute.kind == Kind::kEnd || value.kind == Kind::kEnd) return nullptr;
  return kept_.Add(std::make_unique<DwParameter>(
      Slice(attribute.text), Slice(without_quotes(value)), this, lexer.position()));
}

DwString DwMediaType::Boundary() {
  for (const DwParameter* p = FirstParameter(); p != nullptr; p = p->Next()) {
    if (equal_ignoring_case(view_of(p->Attribute()), "boundary")) return p->Value();
  }
  return {};
}

int DwMechanism::AsEnum() const {
  if (text().empty()) return DwMime::kCteNull;
  return code_of(kEncodings, text(), DwMime::kCteUnknown);
}
