#include <cerrno>
#include <unistd.h>

#include "autoresponder/reply/sendmail.h"
#include "explain/check/checks.h"
#include "explain/check/files.h"
#include "support/libidn.h"

namespace {

// Where a run that is started setuid looks for commands.
constexpr const char* kDirectories[] = {"/usr/bin", "/bin", "/usr/sbin", "/sbin"};

bool can_be_started(const std::string& path) {
  const auto state = state_of(path);
  return state && S_ISREG(state->st_mode) && access(path.c_str(), X_OK) == 0;
}

void check_sendmail(Inspection& inspection) {
  const std::string path = sendmail_path();
  const auto state = state_of(path);
  if (!state && is_hidden_from_us(errno)) {
    inspection.Unseen(path, words_of(errno));
  } else if (!can_be_started(path)) {
    inspection.Error("sendmail_missing",
                     "{} is missing or cannot be started: no mail leaves. Correct QMAIL_ROOT_D, or "
                     "install the mail server.",
                     path);
  } else if (others_may_write(*state)) {
    inspection.Error("sendmail_writable",
                     "{} may be written by others than root (owner {}, {}), and root starts it: "
                     "they can become root.",
                     path, state->st_uid, mode_of(*state));
  }
}

void check_command(const std::string& name, const std::string& package, Inspection& inspection) {
  for (const std::string directory : kDirectories) {
    if (can_be_started(directory + "/" + name)) return;
  }
  inspection.Error(name == "sed" ? "sed_missing" : "uuencode_missing",
                   "{} is missing or cannot be started: attachments arrive empty. Install the "
                   "package {}.",
                   name, package);
}

void check_libidn(Inspection& inspection) {
  const char* const trouble = kem::libidn.Trouble();
  if (trouble == nullptr) return;
  inspection.Error("libidn_missing",
                   "libidn cannot be loaded: {}. No rule replies from an address that is not "
                   "ASCII. Install the package libidn12.",
                   trouble);
}

}  // namespace

void check_commands(Inspection& inspection) {
  if (!inspection.qmail_root.empty()) check_sendmail(inspection);
  check_command("uuencode", "sharutils", inspection);
  check_command("sed", "sed", inspection);
  check_libidn(inspection);
}
