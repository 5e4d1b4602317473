#pragma once

#include <string>
#include <string_view>

#include "support/base/diagnose.h"
#include "support/base/one_line.h"
#include "support/conf.h"

/// The mail server's submission program.
inline std::string sendmail_path() {
  return std::string(QMAIL_ROOT_D) + "/bin/sendmail";
}

/// Whether sendmail would read the address as an option.
inline bool is_option(std::string_view address) {
  return !address.empty() && address.front() == '-';
}

/// The address without the quotes around words of its local part (RFC 5322, 3.4.1), as qmail's
/// sendmail takes it in an argument: it would quote the quotes.
std::string without_quotes(std::string_view address);

/// Reports on standard error that nothing is mailed to `address`, because it is an option.
inline void report_option(std::string_view address) {
  diagnose({"autoresponder: refused to mail to an option: ", in_one_line(std::string(address))});
}
