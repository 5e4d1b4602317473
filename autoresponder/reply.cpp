#include "autoresponder/reply.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <unistd.h>

#include "autoresponder/attachments.h"
#include "autoresponder/delivery.h"
#include "autoresponder/notification.h"
#include "autoresponder/temporary_files.h"
#include "mime/charset.h"
#include "mime/header_encode.h"
#include "support/diagnose.h"
#include "support/ex_error.h"
#include "support/idn.h"
#include "support/owned.h"
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

std::string reply_subject(const ResponderRule& rule, const IncomingMessage& message) {
  if (rule.subject.empty()) return "Re: " + message.subject;
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
  return std::string(filled, static_cast<size_t>(result.written));
}

void write_reply_text(std::ostream& reply, const ResponderRule& rule,
                      const IncomingMessage& message, std::string_view boundary) {
  const ConvertedText converted = convert_text(rule);
  if (!rule.reply_to.empty()) reply << "Reply-To: " << rule.reply_to << '\n';
  reply << "From: " << idn_toascii_string(message.recipient.c_str()) << '\n';
  reply << "To: " << message.sender << '\n';
  reply << "MIME-Version: 1.0\n";
  reply << "Subject: ";
  write_header_encoded(reply, reply_subject(rule, message));
  reply << '\n';
  if (!boundary.empty()) {
    reply << "Content-Type: multipart/mixed;\n\tboundary=\"" << boundary << "\"\n\n";
    reply << "--" << boundary << '\n';
  }
  reply << "Content-Type: " << rule.content_type << "; charset=\"" << converted.charset << "\"\n";
  reply << "Content-Transfer-Encoding: 8bit\n";
  reply << "Content-Disposition: inline\n\n";
  reply << converted.text << "\n\n\n";
}

bool write_response_file(const ResponderRule& rule, const IncomingMessage& message,
                         std::string_view boundary) {
  std::ofstream reply(response_file_path, std::ios::trunc);
  write_reply_text(reply, rule, message, boundary);
  reply.close();
  return reply.good();
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
