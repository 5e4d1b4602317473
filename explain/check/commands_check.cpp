#include <cerrno>
#include <unistd.h>

#include "autoresponder/reply/shell.h"
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
                     "{0} may be written by others than root (owner {1}, {2}), and root starts it: "
                     "they can become root. chown root {0} && chmod go-w {0}",
                     path, state->st_uid, mode_of(*state));
  }
}

// qmail's sendmail starts qmail-inject, and that qmail-queue, which puts the mail into the queue of
// another user.
void check_queue(Inspection& inspection) {
  const std::string inject = inspection.qmail_root + "/bin/qmail-inject";
  const std::string queue = inspection.qmail_root + "/bin/qmail-queue";
  if (!can_be_started(inject)) {
    inspection.Error("qmail_inject_missing",
                     "{} is missing or cannot be started: no mail leaves. Install the mail server.",
                     inject);
  }
  const auto state = state_of(queue);
  if (state && (state->st_mode & S_ISUID) != 0 && can_be_started(queue)) return;
  inspection.Error("qmail_queue_not_setuid",
                   "{0} is missing, or is not setuid: mail cannot be put into the queue. Install "
                   "the mail server, or chmod 4711 {0}",
                   queue);
}

void check_command(const std::string& name, const std::string& package, Inspection& inspection) {
  for (const char* const directory : kDirectories) {
    if (can_be_started(std::string(directory) + '/' + name)) return;
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
  if (!inspection.qmail_root.empty()) {
    check_sendmail(inspection);
    check_queue(inspection);
  }
  check_command("uuencode", "sharutils", inspection);
  check_command("sed", "sed", inspection);
  check_libidn(inspection);
}
