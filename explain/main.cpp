#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <unistd.h>

#include "autoresponder/process.h"
#include "explain/examination.h"
#include "explain/json_report.h"
#include "explain/options.h"
#include "explain/silenced_output.h"
#include "explain/text_report.h"
#include "support/report.h"

namespace {

// The library ends the process by itself where it gives up, with a status that would be an answer
// of ours.
void exit_unknown_unless(bool& answered) {
  on_exit(
      [](int /*status*/, void* is_answered) {
        if (!*static_cast<bool*>(is_answered)) _exit(static_cast<int>(Verdict::kUnknown));
      },
      &answered);
}

void report(const Explanation& explanation, const Options& options) {
  if (options.json) {
    write_json(std::cout, explanation, options.show_reply);
  } else {
    write_text(std::cout, explanation, {options.show_reply, isatty(STDOUT_FILENO) == 1});
  }
  std::cout.flush();
}

void hint_at_terminal(const Options& options) {
  if (options.message_file != "-" || isatty(STDIN_FILENO) != 1) return;
  std::cerr << "Reading the message from the terminal; Ctrl-D ends it.\n";
}

Verdict tell(const Options& options) {
  hint_at_terminal(options);
  Explanation explanation;
  {
    const SilencedOutput silence;
    examine(options, explanation);
  }
  report(explanation, options);
  return std::cout.good() ? explanation.verdict : Verdict::kUnknown;
}

}  // namespace

int main(int argc, char** argv) {
  static bool answered = false;
  prog_name = argv[0];
  exit_unknown_unless(answered);
  try {
    const auto command_line = parse_command_line(argc, argv);
    prepare_process();
    const Options* const options = std::get_if<Options>(&command_line);
    const int status =
        options != nullptr ? static_cast<int>(tell(*options)) : *std::get_if<int>(&command_line);
    answered = true;
    return status;
  } catch (const std::exception& trouble) {
    report_error(static_cast<int>(Verdict::kUnknown), 0, "%s", trouble.what());
  }
}
