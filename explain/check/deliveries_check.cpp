#include <cstdlib>
#include <map>
#include <set>
#include <unistd.h>
#include <utility>

#include "explain/check/delivery_files.h"
#include "explain/check/files.h"
#include "explain/check/inspection.h"
#include "explain/check/mail_server.h"
#include "support/base/letter_case.h"

namespace {

// The addresses of the mailboxes with active rules: their names and aliases, at their domain and at
// its aliases.
constexpr const char* kAddresses =
    "select n.name, d.name from (select id mn_id, mail_name name from mail union select mn_id, "
    "alias from mail_aliases) n, mail m, (select id dom_id, name from domains union select dom_id, "
    "name from domainaliases where mail='true') d where n.mn_id=m.id and m.dom_id=d.dom_id and "
    "m.id in (select mn_id from mail_resp where resp_on<>'false')";

// The local parts of mailboxes with rules, by domain.
using Domains = std::map<std::string, std::set<std::string>>;

Domains domains_with_rules(Inspection& inspection) {
  enum { kName, kDomain };
  Domains domains;
  auto rows = inspection.database ? inspection.database->TryQuery(kAddresses) : std::nullopt;
  if (!rows) return domains;
  while (const Row row = rows->Next()) {
    domains[text_or(row[kDomain], "")].insert(text_or(row[kName], ""));
  }
  return domains;
}

struct Deliveries {
  VirtualDomains virtual_domains;
  std::set<std::string> locals;  // in lower case
  Domains domains;
};

// Whether control/locals names the domain. It takes precedence over control/virtualdomains.
bool is_local(const Deliveries& deliveries, const std::string& domain) {
  return deliveries.locals.count(lower_case(domain)) > 0;
}

// The line that decides where mail to the domain goes; null if none does.
const VirtualDomains::value_type* line_for(const Deliveries& deliveries,
                                           const std::string& domain) {
  if (is_local(deliveries, domain)) return nullptr;
  return find_virtual_domain(deliveries.virtual_domains, domain);
}

// A run takes what follows the first "-" of RECIPIENT for the address.
void check_prefixes(const Deliveries& deliveries, Inspection& inspection) {
  std::set<std::string> used;  // the lines that decide for domains with rules
  for (const auto& [domain, names] : deliveries.domains) {
    if (const auto* const line = line_for(deliveries, domain)) used.insert(line->first);
  }
  for (const auto& [domain, prefix] : deliveries.virtual_domains) {
    if (prefix.find('-') == std::string::npos) continue;
    inspection.Add(
        used.count(domain) > 0 ? Severity::kError : Severity::kWarning, "prefix_with_dash",
        "The prefix \"{}\" of {} in control/virtualdomains holds \"-\": every message would end "
        "with \"Mailname not found\". Choose another prefix, with a line of its own in "
        "users/assign (operators.md).",
        prefix, domain.empty() ? "all domains" : domain);
  }
}

// Mail to a local domain is delivered without a prefix, also where control/virtualdomains has one.
void check_local(const std::string& domain, const Deliveries& deliveries, Inspection& inspection) {
  if (deliveries.virtual_domains.count(lower_case(domain)) > 0) {
    inspection.Warning(
        "domain_twice",
        "Both control/locals and control/virtualdomains name the domain {}: the first "
        "decides, and its mail goes to the users of this system. Take it out of "
        "control/locals.",
        domain);
  }
  if (domain.find('-') != std::string::npos) {
    inspection.Error("local_domain_with_dash",
                     "control/locals names the domain {}, which holds \"-\": every message would "
                     "end with \"Mailname not found\". Move the domain to "
                     "control/virtualdomains.",
                     domain);
  }
  for (const std::string& name : deliveries.domains.at(domain)) {
    if (name.find('-') == std::string::npos) continue;
    inspection.Error("local_name_with_dash",
                     "Mail to {}@{} is delivered without a prefix, because control/locals names "
                     "the domain: every message would end with \"Mailname not found\". Move the "
                     "domain to control/virtualdomains.",
                     name, domain);
  }
}

// By SMTP the mail server takes mail for these domains only, and for all if there is no such file.
void check_received(const Deliveries& deliveries, Inspection& inspection) {
  const auto taken = control_lines(inspection.qmail_root + "/control/rcpthosts", inspection);
  if (!taken) return;
  VirtualDomains lines;
  for (const std::string& domain : *taken) lines[lower_case(domain)] = "";
  const bool has_more = state_of(inspection.qmail_root + "/control/morercpthosts.cdb").has_value();
  for (const auto& [domain, names] : deliveries.domains) {
    if (has_more || find_virtual_domain(lines, domain) != nullptr) continue;
    inspection.Warning("domain_not_received",
                       "The domain {} has rules, but control/rcpthosts does not name it: no other "
                       "server's mail to it is taken. Add it.",
                       domain);
  }
}

// With repairs no attachment is found below a symbolic link.
void check_stores(const Deliveries& deliveries, Inspection& inspection) {
  if (!inspection.switches.repairs.store) return;
  for (const auto& [domain, names] : deliveries.domains) {
    const std::string path = inspection.mail_names + "/" + domain;
    char target = 0;
    if (readlink(path.c_str(), &target, 1) < 0) continue;
    inspection.Warning("store_linked",
                       "{} is a symbolic link: with AUTORESPONDER_REPAIRS all attachments of this "
                       "domain are missing. Move the directory there, or mount it.",
                       path);
  }
}

// Each delivery has a connection while it works.
void check_connections(Inspection& inspection) {
  constexpr long kOthers = 10;
  constexpr long kDefault = 10;
  if (!inspection.database) return;
  const auto lines = control_lines(inspection.qmail_root + "/control/concurrencylocal", inspection);
  const long deliveries = lines && !lines->empty() ? atol(lines->front().c_str()) : kDefault;
  auto rows = inspection.database->TryQuery("select @@max_connections");
  const Row row = rows ? rows->Next() : nullptr;
  const long connections = row != nullptr ? atol(text_or(row[0], "0")) : deliveries + kOthers;
  if (connections >= deliveries + kOthers) return;
  inspection.Warning("few_connections",
                     "The server takes {} connections, and {} deliveries may run at once "
                     "(control/concurrencylocal): some end without a reply. set global "
                     "max_connections={}",
                     connections, deliveries, deliveries + kOthers);
}

// What the mail server puts before the local parts of the domain; nothing if it does not deliver
// the domain's mail.
std::optional<std::string> prefix_for(const std::string& domain, const Deliveries& deliveries,
                                      Inspection& inspection) {
  if (is_local(deliveries, domain)) return "";
  const auto* const line = line_for(deliveries, domain);
  if (line != nullptr && !line->second.empty()) return line->second + '-';
  inspection.Warning(
      "domain_not_delivered",
      "The domain {} has rules, but control/virtualdomains has no prefix for it, "
      "and control/locals does not name it: its mail is not delivered here. Add a line "
      "for it.",
      domain);
  return std::nullopt;
}

// Adds the domain's deliveries. Of the mailboxes without a user, or with root, names the first.
void add_deliveries(const std::string& domain, const std::string& prefix,
                    const std::set<std::string>& names, const DeliveryUsers& users,
                    std::vector<DeliveredMailbox>& found, Inspection& inspection) {
  bool has_no_user = prefix.empty();  // a local domain's mailboxes may be aliases
  bool has_root = false;
  for (const std::string& name : names) {
    const auto user = users.Find(prefix + name);
    if (user && user->id != 0) {
      found.push_back({name + '@' + domain, *user});
    } else if (user) {
      if (std::exchange(has_root, true)) continue;
      inspection.Error("delivery_as_root",
                       "users/assign gives mail to {} to the user 0: the mail server delivers "
                       "nothing as root, and it waits. Name another user, and run qmail-newu.",
                       domain);
    } else if (!std::exchange(has_no_user, true)) {
      inspection.Warning("prefix_without_user",
                         "Nobody is the user of \"{}\", who gets mail to {}: neither users/assign "
                         "nor the system has one, so it goes to the alias user. Add a line for the "
                         "prefix to users/assign and run qmail-newu.",
                         prefix + name, domain);
    }
  }
}

std::vector<DeliveredMailbox> find_deliveries(const Deliveries& deliveries,
                                              Inspection& inspection) {
  const DeliveryUsers users(inspection);
  std::vector<DeliveredMailbox> found;
  for (const auto& [domain, names] : deliveries.domains) {
    const auto prefix = prefix_for(domain, deliveries, inspection);
    if (!prefix) continue;
    if (prefix->empty()) check_local(domain, deliveries, inspection);
    add_deliveries(domain, *prefix, names, users, found, inspection);
  }
  return found;
}

// A delivery can start the program only if its primary group is the program's. A program of root's
// group is a finding of check_program.
void check_group(unsigned group, const std::vector<std::string>& addresses,
                 Inspection& inspection) {
  for (const std::string& path : installed_programs(inspection)) {
    const auto state = state_of(path);
    if (!state || state->st_gid == 0 || state->st_gid == group) continue;
    const size_t others = addresses.size() - 1;
    inspection.Error("delivery_group",
                     "Mail to {}{} is delivered with the primary group {}, and {} belongs to group "
                     "{}: these deliveries cannot start it. Change the group of either "
                     "(operators.md).",
                     addresses[0], others > 0 ? formatted(" and {} more", others) : "", group, path,
                     state->st_gid);
  }
}

void check_groups(const std::vector<DeliveredMailbox>& deliveries, Inspection& inspection) {
  std::map<unsigned, std::vector<std::string>> groups;
  for (const DeliveredMailbox& delivery : deliveries) {
    groups[delivery.user.group].push_back(delivery.address);
  }
  for (const auto& [group, addresses] : groups) check_group(group, addresses, inspection);
}

// qmail reads the compiled form of users/assign.
void check_compiled(Inspection& inspection) {
  const auto assign = state_of(inspection.qmail_root + "/users/assign");
  if (!assign) return;
  const auto compiled = state_of(inspection.qmail_root + "/users/cdb");
  if (compiled && compiled->st_mtime >= assign->st_mtime) return;
  inspection.Error("users_not_compiled",
                   "{}/users/assign is newer than users/cdb, which qmail reads: run qmail-newu.",
                   inspection.qmail_root);
}

}  // namespace

void check_deliveries(Inspection& inspection) {
  if (inspection.qmail_root.empty()) return;
  Deliveries deliveries{read_virtual_domains(inspection), {}, domains_with_rules(inspection)};
  if (const auto locals = control_lines(inspection.qmail_root + "/control/locals", inspection)) {
    for (const std::string& domain : *locals) deliveries.locals.insert(lower_case(domain));
  }
  check_prefixes(deliveries, inspection);
  const std::vector<DeliveredMailbox> found = find_deliveries(deliveries, inspection);
  check_groups(found, inspection);
  check_delivery_files(found, inspection);
  check_received(deliveries, inspection);
  check_stores(deliveries, inspection);
  check_connections(inspection);
  check_compiled(inspection);
}
