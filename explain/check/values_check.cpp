#include <algorithm>
#include <sstream>

#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/attachments.h"
#include "autoresponder/reply/direct_run.h"
#include "autoresponder/reply/reply_text.h"
#include "autoresponder/run/temporary_files.h"
#include "explain/check/inspection.h"
#include "support/strings.h"

namespace {

// What is dangerous in a forwarding address, which reaches the shell without quotes; empty if
// nothing is. One row may hold several addresses, separated by blanks.
std::string danger_of_address(const std::string& text) {
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word[0] == '-') return "reaches sendmail as an option";
    if (!std::all_of(word.begin(), word.end(), is_plain_for_shell))
      return "is read by root's shell";
  }
  return text.find('\n') != std::string::npos ? "is read by root's shell" : "";
}

// What is dangerous in the name of an attachment; empty if nothing is.
std::string danger_of_name(const std::string& name) {
  std::istringstream parts(name);
  for (std::string part; std::getline(parts, part, '/');) {
    if (part == "..") return "leads out of the attachment store, to any file of the system";
  }
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' '; };
  if (name.find('\'') != std::string::npos) return "holds a quote: all attachments are refused";
  const bool is_changed =
      name.find('\\') != std::string::npos || std::any_of(name.begin(), name.end(), is_control);
  return is_changed ? "holds a character that the shell's echo changes in the reply's header" : "";
}

enum Column { kRule, kValue };

struct Kind {
  const char* code;
  const char* what;
  const char* query;
  std::string (*danger)(const std::string&);
};

constexpr Kind kKinds[] = {
    {"dangerous_address", "The forwarding address", "select rn_id, address from resp_forward",
     danger_of_address},
    {"dangerous_file_name", "The attachment", "select rn_id, filename from resp_attach",
     danger_of_name},
};

// Reports the dangerous values of this kind; false if there are none.
bool check_kind(const Kind& kind, Inspection& inspection) {
  bool is_found = false;
  auto rows = inspection.database->TryQuery(kind.query);
  if (!rows) return false;  // check_tables has reported why
  while (const Row row = rows->Next()) {
    std::string untrimmed = text_or(row[kValue], "");
    const std::string value = str_trim(untrimmed.data());
    const std::string danger = kind.danger(value);
    if (danger.empty()) continue;
    is_found = true;
    inspection.Error(kind.code, "{} \"{}\" of rule {} {}. Correct it in the panel.", kind.what,
                     value, text_or(row[kRule], "NULL"), danger);
  }
  return is_found;
}

// The attachments of one rule, including missing files, which may be there tomorrow. Their paths
// are as long as in a run's command.
struct AttachedFiles {
  std::string rule;
  std::vector<Attachment> files;
};

void check_length(const AttachedFiles& attached, Inspection& inspection) {
  if (attached.files.empty()) return;
  const ResponseFile reply(-1, response_template());
  const Repairs& repairs = inspection.switches.repairs;
  if (!is_too_long(attachment_command(attached.files, draw_boundary(), reply, repairs))) return;
  inspection.Error("too_many_attachments",
                   "Rule {} has so many attachments ({}) that the command for them is too long to "
                   "be started: its replies leave without any{}. Pack them into an archive.",
                   attached.rule, attached.files.size(),
                   repairs.whole_attachments ? " or, with repairs, not at all" : "");
}

// Up to 40 attachments fit into a command even with the longest names.
void check_attachments(Inspection& inspection) {
  enum AttachmentColumn { kRuleId, kFile, kMailName, kDomain };
  auto rows = inspection.database->TryQuery(
      "select a.rn_id, a.filename, m.mail_name, d.name from resp_attach a, mail_resp r, mail m, "
      "domains d where r.id=a.rn_id and m.id=r.mn_id and d.id=m.dom_id and a.rn_id in (select "
      "rn_id "
      "from resp_attach group by rn_id having count(*) > 40) order by a.rn_id");
  if (!rows) return;
  AttachedFiles attached;
  while (const Row row = rows->Next()) {
    const std::string rule = text_or(row[kRuleId], "");
    if (rule != attached.rule) {
      check_length(attached, inspection);
      attached = {rule, {}};
    }
    const std::string name = text_or(row[kFile], "");
    const MailboxRef mailbox{"", text_or(row[kMailName], ""), text_or(row[kDomain], "")};
    const bool is_opened = inspection.switches.repairs.store;
    const std::string path = is_opened ? "/proc/self/fd/100" : path_in_store(name, mailbox);
    attached.files.push_back({name, path, 0});
  }
  check_length(attached, inspection);
}

// No reply of such a rule leaves; with repairs they leave without the field.
void check_reply_to(Inspection& inspection) {
  auto rows = inspection.database->TryQuery(
      "select id, reply_to from mail_resp where reply_to<>'' order by id");
  if (!rows) return;
  while (const Row row = rows->Next()) {
    const std::string reply_to = text_or(row[kValue], "");
    if (can_be_parsed(reply_to)) continue;
    const bool is_left_out = inspection.switches.repairs.reply_to;
    inspection.Warning(
        "reply_to_unreadable",
        "The mail server cannot parse the reply_to \"{}\" of rule {}: {}. Correct it "
        "in the panel.",
        reply_to, text_or(row[kRule], ""),
        is_left_out ? "its replies leave without it" : "none of its replies leaves");
  }
}

}  // namespace

void check_values(Inspection& inspection) {
  if (!inspection.mail_names.empty()) check_attachments(inspection);
  check_reply_to(inspection);
  if (has_repairs(inspection.switches)) return;
  bool is_found = false;
  for (const Kind& kind : kKinds) is_found = check_kind(kind, inspection) || is_found;
  if (!is_found) return;
  inspection.Advice("repairs_off",
                    "AUTORESPONDER_REPAIRS is off, and the database holds dangerous values. "
                    "Switched on in kem.conf, it takes the harm out of them.");
}
