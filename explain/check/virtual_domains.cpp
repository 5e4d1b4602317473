#include "explain/check/virtual_domains.h"

#include <algorithm>
#include <cstdlib>
#include <pwd.h>
#include <strings.h>

#include "explain/check/files.h"

namespace {

bool is_same(const std::string& one, const std::string& other) {
  return strcasecmp(one.c_str(), other.c_str()) == 0;
}

const VirtualDomain* find_exactly(const std::vector<VirtualDomain>& lines,
                                  const std::string& domain) {
  for (const VirtualDomain& line : lines) {
    if (is_same(line.domain, domain)) return &line;
  }
  return nullptr;
}

// Tries the name, then the name before each "-" from the last to the first, as qmail-getpw does.
std::optional<DeliveryUser> find_account(std::string name) {
  while (true) {
    const passwd* const account = name.empty() ? nullptr : getpwnam(name.c_str());
    if (account != nullptr && account->pw_uid != 0) {
      return DeliveryUser{name, account->pw_uid, account->pw_gid};
    }
    const size_t dash = name.rfind('-');
    if (dash == std::string::npos) return std::nullopt;
    name.erase(dash);
  }
}

}  // namespace

std::vector<VirtualDomain> read_virtual_domains(Inspection& inspection) {
  const auto lines = control_lines(inspection.qmail_root + "/control/virtualdomains", inspection);
  std::vector<VirtualDomain> result;
  if (!lines) return result;
  for (const std::string& line : *lines) {
    const size_t colon = line.find(':');
    if (colon != std::string::npos)
      result.push_back({line.substr(0, colon), line.substr(colon + 1)});
  }
  return result;
}

const VirtualDomain* find_virtual_domain(const std::vector<VirtualDomain>& lines,
                                         const std::string& domain) {
  if (const VirtualDomain* const line = find_exactly(lines, domain)) return line;
  for (size_t dot = domain.find('.'); dot != std::string::npos; dot = domain.find('.', dot + 1)) {
    if (const VirtualDomain* const line = find_exactly(lines, domain.substr(dot))) return line;
  }
  return find_exactly(lines, "");
}

DeliveryUsers::DeliveryUsers(Inspection& inspection) {
  const std::string path = inspection.qmail_root + "/users/assign";
  auto lines = control_lines(path, inspection);
  if (!lines) return;
  lines_ = *std::move(lines);
  const auto dot = std::find_if(lines_.begin(), lines_.end(),
                                [](const std::string& line) { return line[0] == '.'; });
  if (dot == lines_.end()) {
    inspection.Error(
        "assign_unfinished",
        "{} has no line that begins with a dot: qmail-newu refuses it. Add \".\" as the "
        "last line, and run qmail-newu.",
        path);
  } else if (dot + 1 != lines_.end()) {
    inspection.Error(
        "assign_after_dot",
        "{} has lines after the one with the dot, which do not count. Move them before "
        "it, and run qmail-newu.",
        path);
  }
  lines_.erase(dot, lines_.end());
}

namespace {

unsigned number_of(const std::string& text) {
  return static_cast<unsigned>(atol(text.c_str()));
}

}  // namespace

std::optional<DeliveryUser> DeliveryUsers::Find(const std::string& prefix) const {
  enum { kLocal, kUser, kUid, kGid, kFields = 8 };
  const std::string local = prefix + "-";
  const std::string* best = nullptr;
  for (const std::string& line : lines_) {
    const std::string name = line.substr(0, line.find(':'));
    const bool is_wildcard =
        name[0] == '+' && strncasecmp(local.c_str(), name.c_str() + 1, name.size() - 1) == 0;
    // Decides for one mailbox, and tells of the others only if no line is for them.
    const bool is_one_mailbox =
        name[0] == '=' && strncasecmp(name.c_str() + 1, local.c_str(), local.size()) == 0;
    const bool has_wildcard = best != nullptr && (*best)[0] == '+';
    const bool is_longer = !has_wildcard || name.size() > best->find(':');
    if ((is_wildcard && is_longer) || (is_one_mailbox && best == nullptr)) best = &line;
  }
  if (best == nullptr) return find_account(prefix);
  const auto fields = fields_of(*best);
  if (fields.size() < kFields) return std::nullopt;
  return DeliveryUser{fields[kUser], number_of(fields[kUid]), number_of(fields[kGid])};
}
