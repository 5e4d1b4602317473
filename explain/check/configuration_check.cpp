#include <cerrno>
#include <string_view>
#include <unistd.h>

#include "autoresponder/run/configuration.h"
#include "explain/check/files.h"
#include "explain/check/inspection.h"
#include "support/conf_text.h"

namespace {

void check_writers(const std::string& path, Inspection& inspection) {
  const auto state = state_of(path);
  if (!state || !others_may_write(*state)) return;
  inspection.Error("conf_writable",
                   "{} may be written by others than root (owner {}, {}): they can become root. "
                   "Give it to root, mode {}.",
                   path, state->st_uid, mode_of(*state), S_ISDIR(state->st_mode) ? "0755" : "0644");
}

// Whether the file can be read. If not, check_keys would report every key as missing.
bool is_readable(Inspection& inspection) {
  const std::string path = kConfFile;
  if (access(kConfFile, R_OK) == 0) return true;
  if (is_hidden_from_us(errno)) {
    inspection.Unseen(path, words_of(errno));
  } else {
    inspection.Error("conf_unreadable", "{} cannot be read: {}. No run gets past its start.", path,
                     words_of(errno));
  }
  return false;
}

// Sets the panel library's values for the keys in the file, and reports those that are missing.
void check_keys(Inspection& inspection) {
  std::string missing;
  for (const auto& [key, value] : kem::kConfValues) {
    const char* const found = conf_lookup(key);
    const bool is_defined = found != nullptr && *found != '\0';
    if (is_defined) *value = found;
    if (!is_defined) missing += std::string(missing.empty() ? "" : ", ") + key;
  }
  if (missing.empty()) return;
  inspection.Error("conf_key_missing",
                   "{} does not define {}. Every key is required: no run gets past its start.",
                   kConfFile, missing);
}

void check_switch(const char* key, Inspection& inspection) {
  const char* const value = conf_lookup(key);
  const std::string_view word = value != nullptr ? value : "off";
  if (word == "on" || word == "off") return;
  inspection.Warning("switch_unknown", "{} in {} is \"{}\", which counts as off. Write on or off.",
                     key, kConfFile, value);
}

// A key that looks like a switch and is none changes nothing.
void check_other_switches(Inspection& inspection) {
  const auto lines = control_lines(kConfFile, inspection);
  if (!lines) return;
  for (const std::string& line : *lines) {
    const std::string key = line.substr(0, line.find_first_of(" \t"));
    const bool is_known = key == "AUTORESPONDER_REPAIRS" || key == "AUTORESPONDER_COURTESY";
    if (is_known || key.rfind("AUTORESPONDER_", 0) != 0) continue;
    inspection.Warning("switch_unknown",
                       "{} in {} is no switch. There are AUTORESPONDER_REPAIRS and "
                       "AUTORESPONDER_COURTESY.",
                       key, kConfFile);
  }
}

std::string text_of(const char* value) {
  return value != nullptr ? value : "";
}

}  // namespace

void check_configuration(Inspection& inspection) {
  if (geteuid() != 0) inspection.Unseen("What only root may read", "start this as root");
  check_writers("/etc/kem", inspection);
  check_writers(kConfFile, inspection);
  if (!is_readable(inspection)) return;
  check_keys(inspection);
  inspection.product_root = text_of(PRODUCT_ROOT_D);
  inspection.qmail_root = text_of(QMAIL_ROOT_D);
  inspection.mail_names = text_of(QMAIL_MAILNAMES_D);
  check_switch("AUTORESPONDER_REPAIRS", inspection);
  check_switch("AUTORESPONDER_COURTESY", inspection);
  check_other_switches(inspection);
  inspection.switches = read_switches();
}
