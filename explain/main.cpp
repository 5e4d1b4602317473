#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>

#include "autoresponder/run/process.h"
#include "autoresponder/run/termination.h"
#include "explain/examination.h"
#include "explain/held_output.h"
#include "explain/json_report.h"
#include "explain/options.h"
#include "explain/printable.h"
#include "explain/text_report.h"
#include "support/report.h"

namespace {

// The explanation under way; the exit handler has to know how far it got.
struct Work {
  Options options;
  std::optional<HeldOutput> held;
  Explanation explanation;
  bool is_done = false;
};

// NO_COLOR is what people set who want none (https://no-color.org).
bool wants_colour() {
  const char* const no_colour = getenv("NO_COLOR");
  const char* const terminal = getenv("TERM");
  const bool is_dumb = terminal != nullptr && strcmp(terminal, "dumb") == 0;
  return (no_colour == nullptr || *no_colour == '\0') && !is_dumb;
}

// A diagnostic of the run says already who speaks.
std::string without_prefix(const std::string& trouble) {
  const std::string prefix = "autoresponder: ";
  return trouble.rfind(prefix, 0) == 0 ? trouble.substr(prefix.size()) : trouble;
}

void report(const Explanation& explanation, const Options& options) {
  const bool on_terminal = isatty(STDOUT_FILENO) == 1;
  const TextStyle style{options.show_reply, on_terminal, on_terminal && wants_colour()};
  std::cerr << printable_lines(explanation.diagnostics);
  if (explanation.verdict == Verdict::kUnknown && !explanation.trouble.empty()) {
    std::cerr << "autoresponder-explain: " << printable_lines(without_prefix(explanation.trouble))
              << '\n';
  }
  if (options.json) {
    write_json(std::cout, explanation, style);
  } else {
    write_text(std::cout, explanation, style);
  }
  std::cout.flush();
}

// Called at exit. The library ends the process with exit(1) after a fatal error, which would read
// as "no reply"; this turns it into status 2.
void report_unfinished(int /*status*/, void* argument) {
  Work& work = *static_cast<Work*>(argument);
  if (work.is_done) return;
  if (work.held) {
    work.explanation.reason = Reason::kLibraryGivesUp;
    work.explanation.diagnostics = work.held->Release();
    report(work.explanation, work.options);
  }
  _exit(static_cast<int>(Verdict::kUnknown));
}

void hint_at_terminal(const Options& options) {
  if (options.message_file != "-" || isatty(STDIN_FILENO) != 1) return;
  std::cerr << "Reading the message from the terminal; Ctrl-D ends it.\n";
}

Verdict tell(Work& work) {
  hint_at_terminal(work.options);
  errno = 0;
  Explanation& explanation = work.explanation;
  work.held.emplace();
  examine(work.options, explanation);
  explanation.diagnostics = work.held->Release();
  work.held.reset();
  report(explanation, work.options);
  // Whoever reads the first lines only, as `head` does, has the answer all the same.
  if (std::cout.good() || errno == EPIPE) return explanation.verdict;
  std::cerr << "autoresponder-explain: Unable to write the answer\n";
  return Verdict::kUnknown;
}

int run(int argc, char** argv, Work& work) {
  const auto command_line = parse_command_line(argc, argv);
  if (const int* const status = std::get_if<int>(&command_line)) return *status;
  work.options = *std::get_if<Options>(&command_line);
  prepare_process();
  std::ios::sync_with_stdio(false);  // otherwise std::cin would not report a failed read
  end_children_on_termination();
  return static_cast<int>(tell(work));
}

}  // namespace

int main(int argc, char** argv) {
  static Work work;  // outlives main
  prog_name = argv[0];
  on_exit(report_unfinished, &work);
  try {
    const int status = run(argc, argv, work);
    work.is_done = true;
    return status;
  } catch (const std::exception& trouble) {
    report_error(static_cast<int>(Verdict::kUnknown), 0, "%s", trouble.what());
  }
}
