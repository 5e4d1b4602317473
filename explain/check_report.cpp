#include <ostream>

#include "explain/check/check.h"
#include "explain/json_text.h"
#include "explain/printable.h"
#include "explain/reports.h"
#include "explain/wording.h"

namespace {

constexpr const char* kSeen =
    "Looked at: configuration, program, commands, directories, database, and the mail server's "
    "control and .qmail files. Not at: what other servers send, and whether mail leaves.\n";

Colour colour_of(Severity severity) {
  if (severity == Severity::kError) return Colour::kRed;
  return severity == Severity::kAdvice ? Colour::kBold : Colour::kYellow;
}

}  // namespace

void write_check_text(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style) {
  for (const Finding& finding : findings) {
    const char* const word = words_for(finding.severity).text;
    out << coloured(colour_of(finding.severity), word, style) << ": " << printable(finding.text)
        << '\n';
  }
  if (findings.empty()) out << "This server is set up right.\n";
  out << words_for(switches) << kSeen;
}

void write_check_json(std::ostream& out, const Findings& findings, const Switches& switches,
                      const TextStyle& style) {
  Json list = Json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"severity", words_for(finding.severity).code},
                    {"code", finding.code},
                    {"text", finding.text}});
  }
  write_json_text(out,
                  {{"set_up_right", is_set_up_right(findings)},
                   {"switches", switches_json(switches)},
                   {"findings", list}},
                  style.on_terminal);
}
