#include "autoresponder/reply/delivery.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "mime/header_encode.h"
#include "support/base/text.h"
#include "support/conf.h"

namespace {

// The first word of the file, delimited by white space; empty if there is none. Not by a stream:
// that would set up the C++ library's locale in each run.
std::string first_word(FILE* file) {
  std::string word;
  int c = getc(file);
  while (c != EOF && isspace(c) != 0) c = getc(file);
  for (; c != EOF && isspace(c) == 0; c = getc(file)) word += static_cast<char>(c);
  return word;
}

}  // namespace

int64_t size_limit() {
  const OwnedFile file(fopen((std::string(QMAIL_ROOT_D) + "/control/databytes").c_str(), "r"));
  return file ? atoi(first_word(file.get()).c_str()) : 0;
}

bool exceeds(int64_t size, int64_t limit) {
  return limit > 0 && size > limit;
}

SubjectText notice_subject(const IncomingMessage& message) {
  return {"Re: ", message.subject};
}

// Kept: "on you request", the empty CC, and that there are no To and MIME headers.
bool replace_by_notice(ResponseFile& reply, const ResponderRule& rule,
                       const IncomingMessage& message, std::string_view more_fields) {
  OwnedFile notice = reply.Rewrite();
  if (!notice) return false;
  if (*rule.reply_to != '\0') write_pieces(notice.get(), {"Reply-To: ", rule.reply_to, "\n"});
  write_pieces(notice.get(), {"From: ", message.recipient, "\nCC: \nSubject: "});
  const SubjectText subject = notice_subject(message);
  write_header_encoded(notice.get(), {subject.start, subject.incoming});
  write_pieces(notice.get(),
               {"\n", more_fields, "\nAn error occurred while responding on you request.\n\n",
                "Autoresponder message size exceeds databytes limit.\n\n\n\n"});
  const bool written = ferror(notice.get()) == 0;
  return fclose(notice.release()) == 0 && written;
}

ShellCommand delivery_command(const std::string& from, const IncomingMessage& message,
                              const ResponseFile& reply, const Repairs& repairs) {
  ShellCommand command(Purpose::kReply, repairs);
  command.Text(sendmail_path()).Text(" -f ").Quoted(from);
  // Kept: the quotes of a sender reach the mail server, which quotes them once more.
  command.Text(" ");
  if (repairs.local_parts) {
    command.Address(without_quotes(message.sender));
  } else {
    command.Address(message.sender);
  }
  return command.Text(" <").Text(reply.path());
}
