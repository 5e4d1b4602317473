#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <strings.h>
#include <unistd.h>

#include "explain/check/checks.h"
#include "explain/check/files.h"
#include "explain/check/program.h"
#include "explain/check/virtual_domains.h"

namespace {

// The domains whose mailboxes have rules, and their aliases.
constexpr const char* kDomainsWithRules =
    "select distinct d.name from domains d, mail m, mail_resp r where m.dom_id=d.id and "
    "r.mn_id=m.id union select distinct a.name from domainaliases a, domains d, mail m, mail_resp "
    "r where a.dom_id=d.id and m.dom_id=d.id and r.mn_id=m.id and a.mail='true'";

// The names and aliases with a "-" of mailboxes that have rules.
constexpr const char* kNamesWithDash =
    "select m.mail_name, d.name from mail m, domains d, mail_resp r where m.dom_id=d.id and "
    "r.mn_id=m.id and m.mail_name like '%-%' union select a.alias, d.name from mail_aliases a, "
    "mail m, domains d, mail_resp r where a.mn_id=m.id and m.dom_id=d.id and r.mn_id=m.id and "
    "a.alias like '%-%'";

std::set<std::string> domains_with_rules(Inspection& inspection) {
  std::set<std::string> domains;
  auto rows = inspection.database ? inspection.database->TryQuery(kDomainsWithRules) : std::nullopt;
  if (!rows) return domains;
  while (const Row row = rows->Next()) domains.insert(text_or(*row, ""));
  return domains;
}

struct Deliveries {
  std::vector<VirtualDomain> virtual_domains;
  std::vector<std::string> locals;
  std::set<std::string> domains;  // with rules
};

// Whether control/locals names the domain. It takes precedence over control/virtualdomains.
bool is_local(const Deliveries& deliveries, const std::string& domain) {
  return std::any_of(
      deliveries.locals.begin(), deliveries.locals.end(),
      [&](const std::string& local) { return strcasecmp(local.c_str(), domain.c_str()) == 0; });
}

// The line that decides where mail to the domain goes; null if none does.
const VirtualDomain* line_for(const Deliveries& deliveries, const std::string& domain) {
  if (is_local(deliveries, domain)) return nullptr;
  return find_virtual_domain(deliveries.virtual_domains, domain);
}

// A run takes what follows the first "-" of RECIPIENT for the address.
void check_prefix(const VirtualDomain& line, const Deliveries& deliveries, Inspection& inspection) {
  if (line.prefix.find('-') == std::string::npos) return;
  const bool has_rules =
      std::any_of(deliveries.domains.begin(), deliveries.domains.end(),
                  [&](const auto& domain) { return line_for(deliveries, domain) == &line; });
  constexpr char kText[] =
      "The prefix \"{}\" of {} in control/virtualdomains holds \"-\": every message would end with "
      "\"Mailname not found\". Choose another prefix, with a line of its own in users/assign "
      "(operators.md).";
  const std::string domain = line.domain.empty() ? "all domains" : line.domain;
  if (has_rules) {
    inspection.Error("prefix_with_dash", kText, line.prefix, domain);
  } else {
    inspection.Warning("prefix_with_dash", kText, line.prefix, domain);
  }
}

// The domains that have rules and a prefix with a user, by that user's group.
using Groups = std::map<unsigned, std::vector<std::string>>;

// Mail to a local domain is delivered without a prefix, also where control/virtualdomains has one.
void check_local(const std::string& domain, const Deliveries& deliveries, Inspection& inspection) {
  const VirtualDomain* const line = find_virtual_domain(deliveries.virtual_domains, domain);
  if (line != nullptr && strcasecmp(line->domain.c_str(), domain.c_str()) == 0) {
    inspection.Warning(
        "domain_twice",
        "Both control/locals and control/virtualdomains name the domain {}: the first "
        "decides, and its mail goes to the users of this system. Take it out of "
        "control/locals.",
        domain);
  }
  if (domain.find('-') == std::string::npos) return;
  inspection.Error("local_domain_with_dash",
                   "control/locals names the domain {}, which holds \"-\": every message would end "
                   "with \"Mailname not found\". Move the domain to control/virtualdomains.",
                   domain);
}

// By SMTP the mail server takes mail for these domains only, and for all if there is no such file.
void check_received(const Deliveries& deliveries, Inspection& inspection) {
  const auto taken = control_lines(inspection.qmail_root + "/control/rcpthosts", inspection);
  if (!taken) return;
  std::vector<VirtualDomain> lines;
  for (const std::string& domain : *taken) lines.push_back({domain, ""});
  const bool has_more = state_of(inspection.qmail_root + "/control/morercpthosts.cdb").has_value();
  for (const std::string& domain : deliveries.domains) {
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
  for (const std::string& domain : deliveries.domains) {
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

void check_domain(const std::string& domain, const Deliveries& deliveries,
                  const DeliveryUsers& users, Groups& groups, Inspection& inspection) {
  if (is_local(deliveries, domain)) return check_local(domain, deliveries, inspection);
  const VirtualDomain* const line = line_for(deliveries, domain);
  if (line == nullptr || line->prefix.empty()) {
    inspection.Warning("domain_not_delivered",
                       "The domain {} has rules, but control/virtualdomains has no prefix for it, "
                       "and control/locals does not name it: its mail is not delivered here.",
                       domain);
    return;
  }
  if (const auto user = users.Find(line->prefix)) {
    groups[user->group].push_back(domain);
    if (user->id != 0) return;
    inspection.Error("delivery_as_root",
                     "users/assign gives the prefix \"{}\" of {} the user 0: the mail server "
                     "delivers nothing as root, and its mail waits. Name another user, and run "
                     "qmail-newu.",
                     line->prefix, domain);
    return;
  }
  inspection.Warning(
      "prefix_without_user",
      "Nobody is the user of the prefix \"{}\" of {}: neither users/assign nor the "
      "system has one, so its mail goes to the alias user. Add a line to users/assign "
      "and run qmail-newu.",
      line->prefix, domain);
}

// A delivery can start the program only if its primary group is the program's. A program of root's
// group is a finding of check_program.
void check_group(unsigned group, const std::vector<std::string>& domains, Inspection& inspection) {
  for (const std::string& path : installed_programs(inspection)) {
    const auto state = state_of(path);
    if (!state || state->st_gid == 0 || state->st_gid == group) continue;
    const size_t others = domains.size() - 1;
    inspection.Error("delivery_group",
                     "Mail to {}{} is delivered with the primary group {}, and {} belongs to group "
                     "{}: these deliveries cannot start it.",
                     domains[0], others > 0 ? formatted(" and {} more", others) : "", group, path,
                     state->st_gid);
  }
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

// Local domains have no prefix, so an address there must not hold a "-" either.
void check_local_names(const Deliveries& deliveries, Inspection& inspection) {
  enum { kName, kDomain };
  auto rows = inspection.database ? inspection.database->TryQuery(kNamesWithDash) : std::nullopt;
  if (!rows) return;
  while (const Row row = rows->Next()) {
    const std::string name = text_or(row[kName], "");
    const std::string domain = text_or(row[kDomain], "");
    if (!is_local(deliveries, domain)) continue;
    inspection.Error("local_name_with_dash",
                     "Mail to {}@{} is delivered without a prefix, because control/locals names "
                     "the domain: every message would end with \"Mailname not found\". Move the "
                     "domain to control/virtualdomains.",
                     name, domain);
  }
}

}  // namespace

void check_deliveries(Inspection& inspection) {
  if (inspection.qmail_root.empty()) return;
  Deliveries deliveries{read_virtual_domains(inspection), {}, domains_with_rules(inspection)};
  if (auto locals = control_lines(inspection.qmail_root + "/control/locals", inspection)) {
    deliveries.locals = std::move(*locals);
  }
  for (const VirtualDomain& line : deliveries.virtual_domains) {
    check_prefix(line, deliveries, inspection);
  }
  const DeliveryUsers users(inspection);
  Groups groups;
  for (const std::string& domain : deliveries.domains) {
    check_domain(domain, deliveries, users, groups, inspection);
  }
  for (const auto& [group, domains] : groups) check_group(group, domains, inspection);
  check_received(deliveries, inspection);
  check_stores(deliveries, inspection);
  check_connections(inspection);
  check_compiled(inspection);
  check_local_names(deliveries, inspection);
}
