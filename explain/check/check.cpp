#include "explain/check/check.h"

#include <algorithm>

#include "explain/check/inspection.h"

namespace {

struct Check {
  void (*look)(Inspection&);
  bool needs_database = false;
};

// In the order in which they run. A new check is one line here.
constexpr Check kChecks[] = {
    {check_configuration}, {check_program},       {check_commands},     {check_reader},
    {check_places},        {check_connection},    {check_tables, true}, {check_indexes, true},
    {check_limiter, true}, {check_cluster, true}, {check_values, true}, {check_deliveries},
};

void run(const Check& check, Inspection& inspection) {
  if (check.needs_database && !inspection.database) return;
  try {
    check.look(inspection);
  } catch (const PanelFailure& failure) {
    inspection.Error("database_unusable", "A query failed: {}", failure.what());
  }
}

}  // namespace

Findings check_server(Switches& switches) {
  Inspection inspection;
  for (const Check& check : kChecks) run(check, inspection);
  std::stable_sort(
      inspection.findings.begin(), inspection.findings.end(),
      [](const Finding& one, const Finding& other) { return one.severity < other.severity; });
  switches = inspection.switches;
  return std::move(inspection.findings);
}

bool is_set_up_right(const Findings& findings) {
  return std::all_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::kAdvice; });
}
