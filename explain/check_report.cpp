#include "explain/check_report.h"

#include <ostream>
#include <string>

#include "explain/check/check.h"
#include "explain/json_text.h"
#include "explain/printable.h"
#include "explain/wording.h"

namespace {

const char* colour_of(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "31";
    case Severity::kWarning:
    case Severity::kUnseen:
      return "33";
    case Severity::kAdvice:
      break;
  }
  return "1";
}

std::string heading(Severity severity, const TextStyle& style) {
  const char* const word = words_for(severity).text;
  if (!style.in_colour) return word;
  return std::string("\033[") + colour_of(severity) + "m" + word + "\033[0m";
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
