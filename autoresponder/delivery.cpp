#include "autoresponder/delivery.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "autoresponder/sendmail.h"
#include "autoresponder/temporary_files.h"
#include "mime/header_encode.h"
#include "support/conf.h"
#include "support/idn.h"

int64_t size_limit() {
  std::ifstream file(std::string(QMAIL_ROOT_D) + "/control/databytes");
  std::string word;
  file >> word;
  return atoi(word.c_str());
}

bool response_file_exceeds(int64_t limit) {
  struct stat status {};
  return limit > 0 && stat(response_file_path, &status) == 0 && status.st_size > limit;
}

std::string notice_subject(const IncomingMessage& message) {
  return "Re: " + message.subject;
}

// Kept: "on you request", the empty CC, and no To and MIME headers.
void replace_by_notice(const ResponderRule& rule, const IncomingMessage& message) {
  std::ofstream notice(response_file_path, std::ios::trunc);
  if (!rule.reply_to.empty()) notice << "Reply-To: " << rule.reply_to << "\n";
  notice << "From: " << message.recipient << "\nCC: \nSubject: ";
  write_header_encoded(notice, notice_subject(message));
  notice << "\n\n";
  notice << "An error occurred while responding on you request.\n\n";
  notice << "Autoresponder message size exceeds databytes limit.\n\n\n\n";
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
