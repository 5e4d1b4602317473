#pragma once

#include <map>
#include <optional>
#include <string>

#include "explain/check/inspection.h"

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
