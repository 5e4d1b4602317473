#include "explain/check/check.h"

#include <algorithm>

#include "explain/check/checks.h"

namespace {

// In their order. A new check is one line here.
constexpr void (*kChecks[])(Inspection&) = {
    check_configuration, check_program,    check_commands, check_reader,
    check_places,        check_connection, check_tables,   check_indexes,
    check_limiter,       check_cluster,    check_values,   check_deliveries,
};

}  // namespace

Findings check_server() {
  Inspection inspection;
  for (const auto check : kChecks) check(inspection);
  std::stable_sort(
      inspection.findings.begin(), inspection.findings.end(),
      [](const Finding& one, const Finding& other) { return one.severity < other.severity; });
  return std::move(inspection.findings);
}

bool is_set_up_right(const Findings& findings) {
  return std::all_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::kAdvice; });
}
