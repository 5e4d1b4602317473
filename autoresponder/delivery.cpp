#include "autoresponder/delivery.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "autoresponder/sendmail.h"
#include "autoresponder/temporary_files.h"
#include "mime/header_encode.h"
#include "support/base/owned.h"
#include "support/base/write_pieces.h"
#include "support/conf.h"
#include "support/idn.h"

namespace {

// The first run of bytes without white space; empty where there is none.
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

bool response_file_exceeds(int64_t limit) {
  struct stat status {};
  return limit > 0 && stat(response_file_path, &status) == 0 && status.st_size > limit;
}

SubjectText notice_subject(const IncomingMessage& message) {
  return {"Re: ", message.subject};
}

// Kept: "on you request", the empty CC, and no To and MIME headers.
void replace_by_notice(const ResponderRule& rule, const IncomingMessage& message) {
  const OwnedFile notice(fopen(response_file_path, "w"));
  if (!notice) return;
  if (!rule.reply_to.empty()) write_pieces(notice.get(), {"Reply-To: ", rule.reply_to, "\n"});
  write_pieces(notice.get(), {"From: ", message.recipient, "\nCC: \nSubject: "});
  const SubjectText subject = notice_subject(message);
  write_header_encoded(notice.get(), {subject.start, subject.incoming});
  write_pieces(notice.get(), {"\n\nAn error occurred while responding on you request.\n\n",
                              "Autoresponder message size exceeds databytes limit.\n\n\n\n"});
}

ShellCommand delivery_command(const IncomingMessage& message) {
  ShellCommand command;
  command.Text(sendmail_path()).Text(" -f '").Value(idn_toascii_string(message.recipient.c_str()));
  return command.Text("' '").Value(message.sender).Text("' <").Text(response_file_path);
}

void deliver_reply(const ResponderRule& rule, const IncomingMessage& message) {
  if (response_file_exceeds(size_limit())) replace_by_notice(rule, message);
  hand_to_shell(delivery_command(message), ShellUse::kRun);
  unlink(response_file_path);
}
