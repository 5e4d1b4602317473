#include <cerrno>
#include <grp.h>
#include <set>
#include <sys/statvfs.h>

#include "explain/check/checks.h"
#include "explain/check/files.h"

namespace {

void check_mount(const std::string& path, Inspection& inspection) {
  struct statvfs mount {};
  if (statvfs(path.c_str(), &mount) != 0) return;
  if ((mount.f_flag & ST_NOSUID) != 0) {
    inspection.Error("program_nosuid",
                     "{} is on a file system that is mounted nosuid: it does not get root's rights "
                     "there. Mount it without nosuid.",
                     path);
  }
  if ((mount.f_flag & ST_NOEXEC) != 0) {
    inspection.Error("program_noexec",
                     "{} is on a file system that is mounted noexec: nobody can start it. Mount it "
                     "without noexec.",
                     path);
  }
}

void check_writers(const std::string& path, const struct stat& state, Inspection& inspection) {
  if ((state.st_mode & (S_IWGRP | S_IWOTH)) == 0) return;
  inspection.Error("program_writable",
                   "{0} may be written by others than root ({1}): chmod 4750 {0}", path,
                   mode_of(state));
}

void check_rights(const std::string& path, const struct stat& state, Inspection& inspection) {
  if (state.st_uid != 0) {
    inspection.Error("program_owner",
                     "{0} belongs to user {1} and not to root: chown root {0} && chmod 4750 {0}",
                     path, state.st_uid);
  }
  if ((state.st_mode & S_ISUID) == 0) {
    inspection.Error("program_not_setuid",
                     "{0} is not setuid ({1}): deliveries cannot read the password. chmod 4750 {0}",
                     path, mode_of(state));
  }
  if ((state.st_mode & S_IXOTH) != 0) {
    inspection.Error("program_open",
                     "{0} may be started by everybody ({1}), who can then send mail in any "
                     "mailbox's name: chmod 4750 {0}",
                     path, mode_of(state));
  }
}

void check_group(const std::string& path, const struct stat& state, Inspection& inspection) {
  const bool is_closed = state.st_gid == 0 || (state.st_mode & S_IXGRP) == 0;
  if (!is_closed || (state.st_mode & S_IXOTH) != 0) return;
  inspection.Error("program_closed",
                   "{0} can be started by root only (group {1}, {2}). Give it to the deliveries' "
                   "primary group: dpkg-statoverride --update --add root GROUP 4750 {0}",
                   path, state.st_gid, mode_of(state));
}

void check_file(const std::string& path, const struct stat& state, Inspection& inspection) {
  check_rights(path, state, inspection);
  check_writers(path, state, inspection);
  check_group(path, state, inspection);
  check_mount(path, inspection);
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
