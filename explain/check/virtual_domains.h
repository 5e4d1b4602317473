#pragma once

#include <map>
#include <string>

#include "explain/check/inspection.h"

/// The lines of control/virtualdomains. A key is a domain, an address, ".domain" for all below it,
/// or empty for all, in lower case; its value is what qmail puts before the address, with a "-", or
/// empty for nothing.
using VirtualDomains = std::map<std::string, std::string>;

/// Reads control/virtualdomains as qmail-send does: of two lines for one domain the last counts.
VirtualDomains read_virtual_domains(Inspection& inspection);

/// The line that decides where mail to `domain` goes; null if there is none.
const VirtualDomains::value_type* find_virtual_domain(const VirtualDomains& lines,
                                                      const std::string& domain);
