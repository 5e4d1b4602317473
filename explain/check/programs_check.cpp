#include <cerrno>
#include <set>
#include <sys/statvfs.h>
#include <unistd.h>

#include "autoresponder/reply/shell.h"
#include "explain/check/files.h"
#include "explain/check/inspection.h"
#include "support/libidn.h"

namespace {

using State = struct stat;
using Mount = unsigned long;  // flags of a file system

// What can be wrong with an installed program. {0}: the program; {1}: its user; {2}: its group;
// {3}: its mode.
struct Fault {
  const char* code;
  bool (*applies)(const State& state, Mount mount);
  const char* text;
};

constexpr Fault kFaults[] = {
    {"program_owner", [](const State& state, Mount) { return state.st_uid != 0; },
     "{0} belongs to user {1} and not to root: chown root {0} && chmod 4750 {0}"},
    {"program_not_setuid", [](const State& state, Mount) { return (state.st_mode & S_ISUID) == 0; },
     "{0} is not setuid ({3}): deliveries cannot read the password. chmod 4750 {0}"},
    {"program_open", [](const State& state, Mount) { return (state.st_mode & S_IXOTH) != 0; },
     "{0} may be started by everybody ({3}), who can then send mail in any mailbox's name: chmod "
     "4750 {0}"},
    {"program_writable",
     [](const State& state, Mount) { return (state.st_mode & (S_IWGRP | S_IWOTH)) != 0; },
     "{0} may be written by others than root ({3}): chmod 4750 {0}"},
    {"program_closed",
     [](const State& state, Mount) {
       const bool is_closed = state.st_gid == 0 || (state.st_mode & S_IXGRP) == 0;
       return is_closed && (state.st_mode & S_IXOTH) == 0;
     },
     "{0} can be started by root only (group {2}, {3}). Give it to the deliveries' primary group: "
     "dpkg-statoverride --update --add root GROUP 4750 {0}"},
    {"program_nosuid", [](const State&, Mount mount) { return (mount & ST_NOSUID) != 0; },
     "{0} is on a file system that is mounted nosuid: it does not get root's rights there. Mount "
     "it without nosuid."},
    {"program_noexec", [](const State&, Mount mount) { return (mount & ST_NOEXEC) != 0; },
     "{0} is on a file system that is mounted noexec: nobody can start it. Mount it without "
     "noexec."},
};

void check_file(const std::string& path, const State& state, Inspection& inspection) {
  struct statvfs mount {};
  statvfs(path.c_str(), &mount);
  for (const Fault& fault : kFaults) {
    if (!fault.applies(state, mount.f_flag)) continue;
    inspection.Add(Severity::kError, fault.code, fault.text, path, state.st_uid, state.st_gid,
                   mode_of(state));
  }
}

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

std::vector<std::string> installed_programs(const Inspection& inspection) {
  std::set<std::string> places = {INSTALL_ROOT "/sbin/autoresponder"};
  std::string root = inspection.product_root;
  while (!root.empty() && root.back() == '/') root.pop_back();
  if (!root.empty()) places.insert(root + "/sbin/autoresponder");
  return {places.begin(), places.end()};
}

void check_program(Inspection& inspection) {
  bool is_found = false;
  std::string places;
  for (const std::string& path : installed_programs(inspection)) {
    places += (places.empty() ? "" : " or ") + path;
    const auto state = state_of(path);
    const bool is_hidden = !state && is_hidden_from_us(errno);
    if (is_hidden) inspection.Unseen(path, words_of(errno));
    if (state) check_file(path, *state, inspection);
    is_found = is_found || is_hidden || state;
  }
  if (!is_found) inspection.Error("program_missing", "There is no {}: install it.", places);
}

void check_commands(Inspection& inspection) {
  if (!inspection.qmail_root.empty()) {
    check_sendmail(inspection);
    check_queue(inspection);
  }
  check_command("uuencode", "sharutils", inspection);
  check_command("sed", "sed", inspection);
  check_libidn(inspection);
}
