#include <cstdlib>
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

}  // namespace

int main(int argc, char** argv) {
  static bool answered = false;
  const auto command_line = parse_command_line(argc, argv);
  if (const int* const status = std::get_if<int>(&command_line)) return *status;
  const Options& options = std::get<Options>(command_line);
  prepare_process();
  prog_name = argv[0];
  exit_unknown_unless(answered);
  hint_at_terminal(options);
  Explanation explanation;
  {
    const SilencedOutput silence;
    examine(options, explanation);
  }
  report(explanation, options);
  answered = std::cout.good();
  return static_cast<int>(explanation.verdict);
}
