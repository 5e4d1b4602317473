#include "explain/check/mail_server.h"

#include <algorithm>
#include <cstdlib>
#include <pwd.h>

#include "explain/check/files.h"
#include "support/base/letter_case.h"

namespace {

unsigned number_of(const std::string& text) {
  return static_cast<unsigned>(atol(text.c_str()));
}

// Tries the name, then the name before each "-" from the last to the first, as qmail-getpw does.
std::optional<DeliveryUser> find_account(const std::string& local) {
  for (size_t end = local.size(); end != std::string::npos && end > 0;
       end = local.rfind('-', end - 1)) {
    const passwd* const account = getpwnam(lower_case(local.substr(0, end)).c_str());
    if (account == nullptr || account->pw_uid == 0) continue;
    const auto home = state_of(account->pw_dir);
    if (!home || home->st_uid != account->pw_uid) continue;
    const std::string rest = local.substr(end);
    return DeliveryUser{account->pw_uid, account->pw_gid, account->pw_dir, rest.substr(0, 1),
                        rest.empty() ? "" : rest.substr(1)};
  }
  return std::nullopt;
}

// The lines before the one that begins with a dot, which ends the file.
std::vector<std::string> finished_lines(const std::string& path, Inspection& inspection) {
  auto lines = control_lines(path, inspection);
  if (!lines) return {};
  const auto dot = std::find_if(lines->begin(), lines->end(),
                                [](const std::string& line) { return line[0] == '.'; });
  if (dot == lines->end()) {
    inspection.Error(
        "assign_unfinished",
        "{} has no line that begins with a dot: qmail-newu refuses it. Add \".\" as the "
        "last line, and run qmail-newu.",
        path);
  } else if (dot + 1 != lines->end()) {
    inspection.Error(
        "assign_after_dot",
        "{} has lines after the one with the dot, which do not count. Move them before "
        "it, and run qmail-newu.",
        path);
  }
  return {lines->begin(), dot};
}

}  // namespace

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

DeliveryUsers::DeliveryUsers(Inspection& inspection) {
  enum { kLocal, kUser, kUid, kGid, kHome, kDash, kExtension, kFields };
  const std::string path = inspection.qmail_root + "/users/assign";
  for (const std::string& line : finished_lines(path, inspection)) {
    const auto fields = fields_of(line);
    if (fields.size() <= kFields || fields[kLocal].empty()) continue;
    auto& users = line[0] == '+' ? wildcards_ : users_;
    // Of two lines for one name qmail takes the first.
    users.emplace(lower_case(fields[kLocal].substr(1)),
                  DeliveryUser{number_of(fields[kUid]), number_of(fields[kGid]), fields[kHome],
                               fields[kDash], fields[kExtension]});
  }
}

std::optional<DeliveryUser> DeliveryUsers::Find(const std::string& local) const {
  const std::string name = lower_case(local);
  if (const auto user = users_.find(name); user != users_.end()) return user->second;
  for (size_t length = name.size();; --length) {
    const auto wildcard = wildcards_.find(name.substr(0, length));
    if (wildcard != wildcards_.end()) {
      DeliveryUser user = wildcard->second;
      user.extension += local.substr(length);
      return user;
    }
    if (length == 0) return find_account(local);
  }
}
