#include "autoresponder/forwarding.h"

#include "autoresponder/sendmail.h"
#include "autoresponder/temporary_files.h"

std::optional<std::string> forwarding_addresses(PanelDatabase& database,
                                                const std::string& rule_id) {
  std::string addresses = " ";
  Rows rows = database.Query("select address from resp_forward where rn_id=" + rule_id);
  if (rows.IsEmpty()) return std::nullopt;
  while (const Row row = rows.Next()) {
    if (row[0] != nullptr) addresses.append(row[0]).append(" ");
  }
  return addresses;
}

ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses) {
  ShellCommand command;
  command.Text(sendmail_path()).Text(" -f '").Value(message.recipient).Text("' ");
  return command.Text(addresses).Text(" <").Text(spool_file_path);
}

void forward_message(PanelDatabase& database, const IncomingMessage& message,
                     const std::string& rule_id) {
  const std::optional<std::string> addresses = forwarding_addresses(database, rule_id);
  if (addresses) hand_to_shell(forwarding_command(message, *addresses), ShellUse::kRun);
}
