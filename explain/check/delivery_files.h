#pragma once

#include <string>
#include <vector>

#include "explain/check/mail_server.h"

/// A mailbox with rules, and who gets its mail.
struct DeliveredMailbox {
  std::string address;
  DeliveryUser user;
};

/// What mail to these mailboxes needs in their users' homes: the home itself, the `.qmail` file
/// with a line that starts the program, and the Maildirs that it names. Of what several of them
/// lack a finding names the first.
void check_delivery_files(const std::vector<DeliveredMailbox>& deliveries, Inspection& inspection);
