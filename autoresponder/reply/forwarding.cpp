#include "autoresponder/reply/forwarding.h"

#include <algorithm>

#include "support/base/text.h"

std::vector<std::optional<std::string>> forwarding_rows(PanelDatabase& database,
                                                        const char* rule_id) {
  std::vector<std::optional<std::string>> addresses;
  Rows rows = database.Query(joined({"select address from resp_forward where rn_id=", rule_id}));
  while (const Row row = rows.Next()) {
    addresses.push_back(*row != nullptr ? std::make_optional<std::string>(*row) : std::nullopt);
  }
  return addresses;
}

std::optional<std::string> forwarding_addresses(PanelDatabase& database, const char* rule_id) {
  const auto rows = forwarding_rows(database, rule_id);
  if (rows.empty()) return std::nullopt;
  std::string addresses = " ";
  for (const auto& row : rows) {
    if (row) addresses.append(*row).append(" ");
  }
  return addresses;
}

std::vector<std::string_view> addresses_of(std::string_view addresses) {
  constexpr std::string_view kBlanks = " \t";
  std::vector<std::string_view> single;
  size_t start = 0;
  while ((start = addresses.find_first_not_of(kBlanks, start)) != std::string_view::npos) {
    const size_t end = std::min(addresses.find_first_of(kBlanks, start), addresses.size());
    single.push_back(addresses.substr(start, end - start));
    start = end;
  }
  return single;
}

std::string without_options(const std::string& addresses) {
  std::string left = " ";
  for (const std::string_view address : addresses_of(addresses)) {
    if (is_option(address)) {
      report_option(address);
    } else {
      left.append(address).append(" ");
    }
  }
  return left;
}

ShellCommand forwarding_command(const IncomingMessage& message, const std::string& addresses,
                                const std::string& spool_path, const Repairs& repairs) {
  ShellCommand command(Purpose::kForward, repairs);
  command.Text(sendmail_path()).Text(" -f ").Quoted(message.recipient).Text(" ");
  if (repairs.forwarding) {
    command.Text(" ");
    for (const std::string_view address : addresses_of(addresses)) {
      command.Address(address).Text(" ");
    }
  } else {
    command.Text(addresses);
  }
  return command.Text(" <").Text(spool_path);
}
