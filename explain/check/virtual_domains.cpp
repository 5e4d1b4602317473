#include "explain/check/virtual_domains.h"

#include "autoresponder/message/letter_case.h"
#include "explain/check/files.h"

VirtualDomains read_virtual_domains(Inspection& inspection) {
  const auto lines = control_lines(inspection.qmail_root + "/control/virtualdomains", inspection);
  VirtualDomains result;
  if (!lines) return result;
  for (const std::string& line : *lines) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    result[lower_case(line.substr(0, colon))] = line.substr(colon + 1);
  }
  return result;
}

const VirtualDomains::value_type* find_virtual_domain(const VirtualDomains& lines,
                                                      const std::string& domain) {
  const std::string name = lower_case(domain);
  for (size_t start = 0;; start = name.find('.', start + 1)) {
    const auto line = lines.find(start < name.size() ? name.substr(start) : "");
    if (line != lines.end()) return &*line;
    if (start >= name.size()) return nullptr;
  }
}
