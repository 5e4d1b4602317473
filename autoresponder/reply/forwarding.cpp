#include "autoresponder/reply/forwarding.h"

#include "autoresponder/reply/sendmail.h"
#include "support/base/joined.h"

std::optional<std::string> forwarding_addresses(PanelDatabase& database, const char* rule_id) {
  std::string addresses = " ";
  Rows rows = database.Query(joined({"select address from resp_forward where rn_id=", rule_id}));
  if (rows.IsEmpty()) return std::nullopt;
  while (const Row row = rows.Next()) {
    if (*row != nullptr) addresses.append(*row).append(" ");
  }
  return addresses;
}

ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses,
                                const std::string& spool_path) {
  ShellCommand command;
  command.Text(sendmail_path()).Text(" -f ").Quoted(message.recipient).Text(" ");
  return command.Text(addresses).Text(" <").Text(spool_path);
}
