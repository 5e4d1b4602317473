#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain/check/inspection.h"

/// A line of control/virtualdomains.
struct VirtualDomain {
  std::string domain;  ///< a domain, an address, ".domain" for all below it, or empty for all
  std::string prefix;  ///< what qmail puts before the address, with a "-"; empty for none
};

/// The lines of control/virtualdomains, read as qmail-send reads them; none without the file.
std::vector<VirtualDomain> read_virtual_domains(Inspection& inspection);

/// The line that decides where mail to `domain` goes; null if there is none.
const VirtualDomain* find_virtual_domain(const std::vector<VirtualDomain>& lines,
                                         const std::string& domain);

/// Who a delivery runs as.
struct DeliveryUser {
  std::string name;
  unsigned id = 0;
  unsigned group = 0;
};

/// The users that qmail delivers to: those of users/assign, then the system's accounts.
class DeliveryUsers {
 public:
  /// Reads users/assign, and reports what keeps lines of it from counting.
  explicit DeliveryUsers(Inspection& inspection);

  /// Who gets mail to `prefix`, "-" and anything; nothing if that is left to the alias user.
  std::optional<DeliveryUser> Find(const std::string& prefix) const;

 private:
  std::vector<std::string> lines_;
};
