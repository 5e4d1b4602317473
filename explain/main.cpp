#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>

#include "autoresponder/run/process.h"
#include "autoresponder/run/temporary_files.h"
#include "explain/check/check.h"
#include "explain/examination.h"
#include "explain/held_output.h"
#include "explain/options.h"
#include "explain/printable.h"
#include "explain/reports.h"
#include "support/report.h"

namespace {

// The explanation under way; the exit handler has to know how far it got.
struct Work {
  Options options;
  std::optional<HeldOutput> held;
  Explanation explanation;
  bool is_done = false;
};

// Whether the user has not switched colours off: by NO_COLOR (https://no-color.org) or TERM=dumb.
bool wants_colour() {
  const char* const no_colour = getenv("NO_COLOR");
  const char* const terminal = getenv("TERM");
  const bool is_dumb = terminal != nullptr && strcmp(terminal, "dumb") == 0;
  return (no_colour == nullptr || *no_colour == '\0') && !is_dumb;
}

// Diagnostics of the run already begin with a program's name.
std::string without_prefix(const std::string& trouble) {
  const std::string prefix = "autoresponder: ";
  return trouble.rfind(prefix, 0) == 0 ? trouble.substr(prefix.size()) : trouble;
}

TextStyle style_of(const Options& options) {
  const bool on_terminal = isatty(STDOUT_FILENO) == 1;
  return {options.show_reply, on_terminal, on_terminal && wants_colour()};
}

// Ends the redirection of the outputs; returns the diagnostics that were written meanwhile.
std::string end_holding(Work& work) {
  std::string diagnostics = work.held->Release();
  work.held.reset();
  return diagnostics;
}

// Writes the run's diagnostics, and what prevented an answer, to standard error.
void report_trouble(const std::string& diagnostics, const std::string& trouble) {
  std::cerr << printable_lines(diagnostics);
  if (trouble.empty()) return;
  std::cerr << "autoresponder-explain: " << printable_lines(without_prefix(trouble)) << '\n';
}

void report(const Explanation& explanation, const Options& options) {
  const bool is_unknown = explanation.verdict == Verdict::kUnknown;
  report_trouble(explanation.diagnostics, is_unknown ? explanation.trouble : "");
  const auto write = options.json ? write_json : write_text;
  write(std::cout, explanation, style_of(options));
  std::cout.flush();
}

int tell_of_message(Work& work) {
  Explanation& explanation = work.explanation;
  examine(work.options, explanation);
  explanation.diagnostics = end_holding(work);
  report(explanation, work.options);
  return static_cast<int>(explanation.verdict);
}

int tell_of_server(Work& work) {
  Switches switches;
  const Findings findings = check_server(switches);
  end_holding(work);  // its diagnostics only repeat the findings
  const auto write = work.options.json ? write_check_json : write_check_text;
  write(std::cout, findings, switches, style_of(work.options));
  return is_set_up_right(findings) ? 0 : 1;
}

int tell_of_mailbox(Work& work) {
  const Listings listings = list(*work.options.list);
  const std::string diagnostics = end_holding(work);
  const Listing& last = listings.back();
  report_trouble(diagnostics, last.trouble);
  if (work.options.json) {
    write_listing_json(std::cout, listings, diagnostics, style_of(work.options));
  } else {
    write_listing_text(std::cout, listings, style_of(work.options));
  }
  if (!last.trouble.empty()) return static_cast<int>(Verdict::kUnknown);
  return last.mailbox ? 0 : 1;
}

int tell_of_today(Work& work) {
  const Today today = replies_today(work.options.mailbox);
  report_trouble(end_holding(work), today.trouble);
  if (work.options.json) {
    write_today_json(std::cout, today, style_of(work.options));
  } else {
    write_today_text(std::cout, today);
  }
  if (!today.trouble.empty()) return static_cast<int>(Verdict::kUnknown);
  return today.has_mailbox ? 0 : 1;
}

// Called at exit. The panel's library ends the process by exit(1) after a fatal error, which would
// read as "no reply"; this turns it into status 2.
void report_unfinished(int /*status*/, void* argument) {
  Work& work = *static_cast<Work*>(argument);
  if (work.is_done) return;
  if (work.held) {
    work.explanation.reason = Reason::kLibraryGivesUp;
    work.explanation.diagnostics = end_holding(work);
    report(work.explanation, work.options);
  }
  _exit(static_cast<int>(Verdict::kUnknown));
}

void hint_at_terminal(const Options& options) {
  if (options.message_file != "-" || isatty(STDIN_FILENO) != 1) return;
  std::cerr << "Reading the message from the terminal; Ctrl-D ends it.\n";
}

int answer_question(Work& work) {
  switch (work.options.question()) {
    case Question::kCheck:
      return tell_of_server(work);
    case Question::kList:
      return tell_of_mailbox(work);
    case Question::kToday:
      return tell_of_today(work);
    case Question::kMessage:
      break;
  }
  return tell_of_message(work);
}

int tell(Work& work) {
  if (work.options.question() == Question::kMessage) hint_at_terminal(work.options);
  errno = 0;
  work.held.emplace();
  const int status = answer_question(work);
  std::cout.flush();
  // A reader such as `head` may close the pipe early: that is no failure.
  if (std::cout.good() || errno == EPIPE) return status;
  std::cerr << "autoresponder-explain: Unable to write the answer\n";
  return static_cast<int>(Verdict::kUnknown);
}

int run(int argc, char** argv, Work& work) {
  const auto command_line = parse_command_line(argc, argv);
  if (const int* const status = std::get_if<int>(&command_line)) return *status;
  work.options = *std::get_if<Options>(&command_line);
  prepare_process();
  std::ios::sync_with_stdio(false);  // otherwise std::cin would not report a failed read
  end_children_on_termination();
  return tell(work);
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
