#include "explain/options.h"

#include <CLI/CLI.hpp>

#include "explain/explanation.h"

namespace {

constexpr const char* kDescription =
    "Tells why the autoresponder would reply to a message, or not, and does nothing else:\n"
    "no row, no file and no mail is written.";

constexpr const char* kFooter =
    "\nExit status: 0 a reply would leave, 1 none would, 2 it could not be told.\n"
    "Reads /etc/kem and the panel's database, so it has to run as root.";

void declare(CLI::App& app, Options& options) {
  app.add_option("MESSAGE", options.message_file,
                 "file with the message; - or none: standard input")
      ->type_name("FILE");
  app.add_option("--recipient", options.recipient,
                 "address of the delivery; without it RECIPIENT counts, else To")
      ->type_name("ADDRESS");
  app.add_option("--rule", options.rule, "tell about this rule only")->type_name("ID");
  app.add_flag("--json", options.json, "for programs");
  app.add_flag("--show-reply", options.show_reply, "show each reply whole");
  app.set_version_flag("--version", "autoresponder-explain " EXPLAIN_VERSION, "show the version");
  app.set_help_flag("--help", "show this text");
  app.footer(kFooter);
}

}  // namespace

std::variant<Options, int> parse_command_line(int argc, char** argv) {
  CLI::App app(kDescription, "autoresponder-explain");
  Options options;
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    return app.exit(end) == 0 ? 0 : static_cast<int>(Verdict::kUnknown);
  }
  return options;
}
