#ifndef AUTORESPONDER_REPLY_SENDMAIL_H
#define AUTORESPONDER_REPLY_SENDMAIL_H

#include <string>

#include "support/conf.h"

/// The mail server's submission program.
inline std::string sendmail_path() {
  return std::string(QMAIL_ROOT_D) + "/bin/sendmail";
}

#endif
