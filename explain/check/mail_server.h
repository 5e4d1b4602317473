#pragma once

#include <map>
#include <optional>
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

/// Who a delivery runs as, and what it looks for.
struct DeliveryUser {
  unsigned id = 0;
  unsigned group = 0;
  std::string home;
  std::string dash;       ///< what follows ".qmail" in the name of the file of deliveries
  std::string extension;  ///< what follows that
};

/// The users that qmail delivers to: those of users/assign, then the system's accounts.
class DeliveryUsers {
 public:
  /// Reads users/assign, and reports what keeps lines of it from counting.
  explicit DeliveryUsers(Inspection& inspection);

  /// Who gets mail to the local part `local`, a prefix included; nothing if that is left to the
  /// user alias.
  std::optional<DeliveryUser> Find(const std::string& local) const;

 private:
  // By local part, or beginning of local parts, in lower case.
  std::map<std::string, DeliveryUser> users_;
  std::map<std::string, DeliveryUser> wildcards_;
};
