#include "explain/check_report.h"

#include <ostream>
#include <string>

#include "explain/check/check.h"
#include "explain/json_text.h"
#include "explain/printable.h"
#include "support/base/joined.h"

namespace {

struct SeverityWords {
  const char* code;    // for programs
  const char* text;    // for people
  const char* colour;  // a terminal's number for it
};

const SeverityWords& words_for(Severity severity) {
  static constexpr SeverityWords kWords[] = {
      {"error", "error", "31"},
      {"warning", "warning", "33"},
      {"unseen", "not seen", "33"},
      {"advice", "advice", "1"},
  };
  return kWords[static_cast<size_t>(severity)];
}

std::string heading(Severity severity, const TextStyle& style) {
  const SeverityWords& words = words_for(severity);
  if (!style.in_colour) return words.text;
  return joined({"\033[", words.colour, "m", words.text, "\033[0m"});
}

}  // namespace

void write_check_text(std::ostream& out, const Findings& findings, const TextStyle& style) {
  for (const Finding& finding : findings) {
    out << heading(finding.severity, style) << ": " << printable(finding.text) << '\n';
  }
  if (findings.empty()) out << "This server is set up right.\n";
}

void write_check_json(std::ostream& out, const Findings& findings, const TextStyle& style) {
  Json list = Json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"severity", words_for(finding.severity).code},
                    {"code", finding.code},
                    {"text", finding.text}});
  }
  write_json_text(out, {{"set_up_right", is_set_up_right(findings)}, {"findings", list}},
                  style.on_terminal);
}
