#include "autoresponder/reply/reply_text.h"

#include <cstdlib>
#include <iterator>

#include "mime/charset.h"
#include "mime/header_encode.h"
#include "support/base/ex_error.h"
#include "support/base/text.h"
#include "support/templates.h"

namespace {

// One message id a line: two of kMaxMessageId bytes would exceed the limit on a line.
std::string references_field(const CourtesyFacts& message) {
  std::string body;
  for (const std::string& id : message.references) body += (body.empty() ? "" : "\n\t") + id;
  if (!message.message_id.empty()) body += (body.empty() ? "" : "\n\t") + message.message_id;
  return body.empty() ? "" : "References: " + body + "\n";
}

constexpr size_t kSubjectSize = 1000;

struct ConvertedText {
  std::string text;
  std::string charset;
};

// The rule's text in the rule's charset. A text that cannot be converted is sent in UTF-8.
ConvertedText convert_text(const ResponderRule& rule) {
  try {
    return {convert_charset(rule.text, "UTF-8", rule.charset, true), rule.charset};
  } catch (const quern::ExError&) {
    return {rule.text, "UTF-8"};
  }
}

void write_to(FILE* reply, const ResponderRule& rule, const IncomingMessage& message,
              std::string_view from, std::string_view boundary, std::string_view more_fields) {
  const ConvertedText converted = convert_text(rule);
  if (*rule.reply_to != '\0') write_pieces(reply, {"Reply-To: ", rule.reply_to, "\n"});
  write_pieces(reply, {"From: ", from, "\nTo: ", message.sender, "\nMIME-Version: 1.0\nSubject: "});
  const SubjectText subject = reply_subject(rule, message);
  write_header_encoded(reply, {subject.start, subject.incoming});
  write_pieces(reply, {"\n", more_fields});
  if (!boundary.empty()) {
    write_pieces(reply, {"Content-Type: multipart/mixed;\n\tboundary=\"", boundary, "\"\n\n"});
    write_pieces(reply, {"--", boundary, "\n"});
  }
  write_pieces(reply, {"Content-Type: ", rule.content_type, "; charset=\"", converted.charset,
                       "\"\nContent-Transfer-Encoding: 8bit\nContent-Disposition: inline\n\n",
                       converted.text, "\n\n\n"});
}

}  // namespace

std::string reply_courtesy_fields(const CourtesyFacts& message) {
  std::string fields = "Auto-Submitted: auto-replied\nX-Auto-Response-Suppress: All\n";
  if (!message.message_id.empty()) fields += "In-Reply-To: " + message.message_id + "\n";
  return fields + references_field(message);
}

std::string draw_boundary() {
  constexpr int kLetters = 29;
  std::string boundary = "--------=_";
  for (int i = 0; i < kLetters; ++i) {
    const int letter = rand() % 52;  // NOLINT: it only has to be absent from the text
    boundary += static_cast<char>(letter < 26 ? 'A' + letter : 'a' + letter - 26);
  }
  return boundary;
}

SubjectText reply_subject(const ResponderRule& rule, const IncomingMessage& message) {
  if (*rule.subject == '\0') return {"Re: ", message.subject};
  const char* const subject = message.subject.c_str();
  const char* const sender = message.sender.c_str();
  const NamedValue values[] = {
      {"incoming_message_subject", subject}, {"orig_emails_sender_mailname", sender},
      {"orig_emails_subj", subject},         {"request_from", sender},
      {"request_subject", subject},
  };
  char filled[kSubjectSize] = "";
  SubstResult result{};
  result.options = kKeepUnknown;
  template_subst('<', '>', values, static_cast<int>(std::size(values)), rule.subject, filled,
                 kSubjectSize - 1, &result);
  return {std::string(filled, static_cast<size_t>(result.written)), {}};
}

bool write_reply_text(ResponseFile& reply, const ResponderRule& rule,
                      const IncomingMessage& message, std::string_view from,
                      std::string_view boundary, std::string_view more_fields) {
  OwnedFile file = reply.Rewrite();
  if (!file) return false;
  write_to(file.get(), rule, message, from, boundary, more_fields);
  const bool written = ferror(file.get()) == 0;
  return fclose(file.release()) == 0 && written;
}
