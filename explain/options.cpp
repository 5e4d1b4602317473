#include "explain/options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <vector>

#include "explain/explanation.h"
#include "explain/printable.h"

namespace {

constexpr const char* kDescription =
    "Tells why the autoresponder would reply to a message, or not; whether this server is set\n"
    "up right (--check); which rules a mailbox has (--list); or what rules did today (--today).\n"
    "It writes no row, no file and no mail.";

constexpr const char* kFooter =
    "\nExit status: 0 a reply would leave, 1 none would, 2 it could not be told.\n"
    "With --check: 0 the server is set up right, 1 it is not.\n"
    "With --list and --today: 0 it is listed, 1 there is no such mailbox, 2 it could not be told.\n"
    "Reads /etc/kem and the panel's database, so it has to run as root.";

void declare(CLI::App& app, Options& options) {
  app.add_option("MESSAGE", options.message_file,
                 "file with the message; - or none: standard input")
      ->type_name("FILE");
  app.add_option("--recipient", options.recipient,
                 "address of the delivery; without it RECIPIENT counts, or To")
      ->type_name("ADDRESS");
  app.add_option("--rule", options.rule, "tell about this rule only")->type_name("ID");
  app.add_flag("--show-reply", options.show_reply, "show each reply whole");
  app.add_flag("--check", options.check, "no message: is this server set up right?");
  app.add_option("--list", options.list,
                 "no message: which rules have this mailbox, or this domain's?")
      ->type_name("ADDRESS|DOMAIN");
  app.add_flag("--today", options.today,
               "no message: replies of today; of one mailbox, if MESSAGE is its address");
  app.add_flag("--json", options.json, "for programs");
  app.set_version_flag("--version", "autoresponder-explain " EXPLAIN_VERSION, "show the version");
  app.set_help_flag("--help", "show this text");
  app.footer(kFooter);
}

// Refuses two questions, and each of them with what is about a message.
void refuse_two_questions(const CLI::App& app) {
  size_t others = app.count("--today") > 0 ? 0 : app.count("MESSAGE");
  for (const char* const option : {"--recipient", "--rule", "--show-reply"}) {
    others += app.count(option);
  }
  for (const char* const question : {"--check", "--list", "--today"}) {
    if (app.count(question) > 0 && others > 0) {
      throw CLI::ExcludesError(question, "every option but --json");
    }
    others += app.count(question);
  }
}

// The arguments in the parser's order, the last one first. "--option=" is split into the option and
// an empty argument. Otherwise the parser would take the next argument as its value, and a script
// whose variable is empty would get an answer to another question.
std::vector<std::string> arguments(int argc, char** argv) {
  std::vector<std::string> result;
  for (int i = argc - 1; i > 0; --i) {
    const std::string argument = argv[i];
    const bool has_empty_value = argument.rfind("--", 0) == 0 && argument.back() == '=';
    if (has_empty_value) {
      result.emplace_back();
      result.push_back(argument.substr(0, argument.size() - 1));
    } else {
      result.push_back(argument);
    }
  }
  return result;
}

}  // namespace

std::variant<Options, int> parse_command_line(int argc, char** argv) {
  CLI::App app(kDescription, "autoresponder-explain");
  Options options;
  declare(app, options);
  try {
    app.parse(arguments(argc, argv));
    refuse_two_questions(app);
    if (options.today && app.count("MESSAGE") > 0) options.mailbox = options.message_file;
  } catch (const CLI::ParseError& end) {
    if (end.get_exit_code() == 0) return app.exit(end);
    std::cerr << "autoresponder-explain: " << printable(end.what()) << "\nTry --help.\n";
    return static_cast<int>(Verdict::kUnknown);
  }
  return options;
}
