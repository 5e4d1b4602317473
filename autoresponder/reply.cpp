#include "autoresponder/reply.h"

#include <cstdlib>
#include <iterator>
#include <unistd.h>

#include "autoresponder/attachments.h"
#include "autoresponder/delivery.h"
#include "autoresponder/notification.h"
#include "autoresponder/temporary_files.h"
#include "mime/charset.h"
#include "mime/header_encode.h"
#include "support/base/diagnose.h"
#include "support/base/ex_error.h"
#include "support/base/owned.h"
#include "support/base/write_pieces.h"
#include "support/idn.h"
#include "support/templates.h"

namespace {

constexpr size_t kSubjectSize = 1000;

struct ConvertedText {
  std::string text;
  std::string charset;
};

// A text that cannot be converted goes out as it is, which is UTF-8.
ConvertedText convert_text(const ResponderRule& rule) {
  try {
    return {convert_charset(rule.text, "UTF-8", rule.charset, true), rule.charset};
  } catch (const quern::ExError&) {
    return {rule.text, "UTF-8"};
  }
}

// `from`: the mailbox's address in its ASCII form.
void write_reply_text(FILE* reply, const ResponderRule& rule, const IncomingMessage& message,
                      std::string_view from, std::string_view boundary) {
  const ConvertedText converted = convert_text(rule);
  if (!rule.reply_to.empty()) write_pieces(reply, {"Reply-To: ", rule.reply_to, "\n"});
  write_pieces(reply, {"From: ", from, "\nTo: ", message.sender, "\nMIME-Version: 1.0\nSubject: "});
  const SubjectText subject = reply_subject(rule, message);
  write_header_encoded(reply, {subject.start, subject.incoming});
  write_pieces(reply, {"\n"});
  if (!boundary.empty()) {
    write_pieces(reply, {"Content-Type: multipart/mixed;\n\tboundary=\"", boundary, "\"\n\n"});
    write_pieces(reply, {"--", boundary, "\n"});
  }
  write_pieces(reply, {"Content-Type: ", rule.content_type, "; charset=\"", converted.charset,
                       "\"\nContent-Transfer-Encoding: 8bit\nContent-Disposition: inline\n\n",
                       converted.text, "\n\n\n"});
}

}  // namespace

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
  if (rule.subject.empty()) return {"Re: ", message.subject};
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
  template_subst('<', '>', values, static_cast<int>(std::size(values)), rule.subject.c_str(),
                 filled, kSubjectSize - 1, &result);
  return {std::string(filled, static_cast<size_t>(result.written)), {}};
}

bool write_response_file(const ResponderRule& rule, const IncomingMessage& message,
                         std::string_view boundary) {
  const std::string from = idn_toascii_string(message.recipient.c_str());
  OwnedFile reply(fopen(response_file_path, "w"));
  if (!reply) return false;
  write_reply_text(reply.get(), rule, message, from, boundary);
  const bool written = ferror(reply.get()) == 0;
  return fclose(reply.release()) == 0 && written;
}

void send_reply(PanelDatabase& database, const ResponderRule& rule, const MailboxRef& mailbox,
                const IncomingMessage& message) {
  const std::string boundary = draw_boundary();
  AttachmentList attachments;
  bool whole = false;
  {
    const OwnedDescriptor descriptor(create_response_file());
    attachments = find_attachments(database, rule.id, mailbox);
    const std::vector<std::string>& missing = attachments.missing;
    if (!missing.empty()) notify_owner(database, rule.reply_to, message, missing);
    whole = write_response_file(rule, message, attachments.found.empty() ? "" : boundary);
  }
  if (!whole) {
    diagnose({"autoresponder: Unable to write the reply to ", response_file_path});
    unlink(response_file_path);
    return;
  }
  append_attachments(attachments.found, boundary);
  deliver_reply(rule, message);
}
