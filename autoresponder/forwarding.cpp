#include "autoresponder/forwarding.h"

#include "autoresponder/sendmail.h"
#include "autoresponder/shell.h"
#include "autoresponder/temporary_files.h"

void forward_message(PanelDatabase& database, const IncomingMessage& message,
                     const std::string& rule_id) {
  std::string addresses = " ";
  Rows rows = database.Query("select address from resp_forward where rn_id=" + rule_id);
  if (rows.IsEmpty()) return;
  while (const Row row = rows.Next()) {
    if (row[0] != nullptr) addresses.append(row[0]).append(" ");
  }
  ShellCommand command;
  command.Text(sendmail_path()).Text(" -f '").Value(message.recipient).Text("' ");
  command.Text(addresses).Text(" <").Text(spool_file_path);
  hand_to_shell(command, ShellUse::kRun);
}
