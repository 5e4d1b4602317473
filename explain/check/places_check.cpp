#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <sys/statvfs.h>

#include "explain/check/files.h"
#include "explain/check/inspection.h"

namespace {

constexpr uint64_t kMebibyte = uint64_t{1} << 20;

void check_room(Inspection& inspection) {
  struct statvfs system {};
  if (statvfs("/tmp", &system) != 0) return;
  if ((system.f_flag & ST_RDONLY) != 0) {
    inspection.Error(
        "tmp_read_only",
        "/tmp is mounted read-only: no run gets past its start. mount -o remount,rw /tmp");
    return;
  }
  const uint64_t free = uint64_t{system.f_bfree} * system.f_frsize;
  const bool has_no_files_left = system.f_files > 0 && system.f_ffree == 0;
  if (free < kMebibyte || has_no_files_left) {
    inspection.Error("tmp_full", "/tmp is full: no reply leaves. Make room.");
  } else if (free < 64 * kMebibyte) {
    inspection.Warning("tmp_small",
                       "/tmp has only {} MiB left: large messages and attachments do not fit. Make "
                       "room.",
                       free / kMebibyte);
  }
}

// Looks for files left by runs that were killed or aborted.
void check_left_files(Inspection& inspection) {
  constexpr time_t kDay = 86400;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/tmp"), closedir);
  if (!directory) return;
  size_t old = 0;
  while (const dirent* const entry = readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name.rfind("kem-", 0) != 0) continue;
    const auto state = state_of("/tmp/" + name);
    if (state && time(nullptr) - state->st_mtime > 2 * kDay) ++old;
  }
  if (old == 0) return;
  inspection.Advice("tmp_left_files",
                    "/tmp has files of runs that were killed or aborted, older than two days: {}. "
                    "Nothing removes them here: operators.md says how.",
                    old);
}

void check_tmp(Inspection& inspection) {
  const auto state = state_of("/tmp");
  if (!state || !S_ISDIR(state->st_mode)) {
    inspection.Error("tmp_missing", "/tmp is no directory: no run gets past its start.");
    return;
  }
  const bool is_open = (state->st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (is_open && (state->st_mode & S_ISVTX) == 0) {
    inspection.Error(
        "tmp_not_sticky",
        "/tmp is not sticky ({}): everybody can replace a run's files. chmod 1777 /tmp",
        mode_of(*state));
  }
  check_room(inspection);
  check_left_files(inspection);
}

// With repairs the command that encodes attachments opens them by names in /proc.
void check_proc(Inspection& inspection) {
  if (!inspection.switches.repairs.store || state_of("/proc/self/fd")) return;
  inspection.Error("proc_missing",
                   "/proc is not mounted: with AUTORESPONDER_REPAIRS no reply with attachments "
                   "leaves. mount -t proc proc /proc");
}

void check_store(Inspection& inspection) {
  const std::string& path = inspection.mail_names;
  const auto state = state_of(path);
  if (!state && is_hidden_from_us(errno)) {
    inspection.Unseen(path, words_of(errno));
  } else if (!state || !S_ISDIR(state->st_mode)) {
    inspection.Error("store_missing",
                     "{} is no directory: every attachment is missing. Correct QMAIL_MAILNAMES_D.",
                     path);
  } else if ((state->st_mode & S_IWOTH) != 0) {
    inspection.Error("store_writable",
                     "{0} may be written by everybody ({1}): a link there sends any file of the "
                     "system. chmod o-w {0}",
                     path, mode_of(*state));
  }
}

void check_qmail_root(Inspection& inspection) {
  const auto state = state_of(inspection.qmail_root);
  if (!state && is_hidden_from_us(errno)) return;
  if (state && S_ISDIR(state->st_mode)) return;
  inspection.Error("qmail_root_missing", "{} is no directory. Correct QMAIL_ROOT_D.",
                   inspection.qmail_root);
}

// Without its own name the mail server takes no mail.
void check_name(Inspection& inspection) {
  const std::string path = inspection.qmail_root + "/control/me";
  const auto state = state_of(path);
  if (!state && is_hidden_from_us(errno)) return inspection.Unseen(path, words_of(errno));
  if (state && state->st_size > 0) return;
  inspection.Error("server_name_missing",
                   "{} is missing or empty: qmail-smtpd takes no mail. Write this server's name "
                   "into it.",
                   path);
}

void tell_of_no_limit(const std::string& why, Inspection& inspection) {
  inspection.Warning("no_size_limit",
                     "{}, so there is no limit: a stranger's large message takes as much memory as "
                     "it likes. Write a number of bytes into it.",
                     why);
}

// `word`: the file's first word, of which a run uses the leading digits.
void check_limit(const std::string& path, const std::string& word, Inspection& inspection) {
  constexpr long long kSmall = 1024;
  const bool is_number = word.find_first_not_of("0123456789") == std::string::npos;
  const long long limit = atoll(word.c_str());
  if (limit <= 0) return tell_of_no_limit(path + " holds \"" + word + "\"", inspection);
  if (limit > INT_MAX) {
    inspection.Warning(
        "size_limit_too_large",
        "{} holds {}, which is more than {} and not understood. Write a smaller one.", path, word,
        INT_MAX);
  } else if (!is_number || limit < kSmall) {
    inspection.Warning("size_limit_unlikely",
                       "{} holds \"{}\", which means {} bytes: larger messages are refused, and "
                       "larger replies replaced by a notice. Write the number of bytes.",
                       path, word, limit);
  }
}

void check_size_limit(Inspection& inspection) {
  const std::string path = inspection.qmail_root + "/control/databytes";
  errno = 0;
  std::ifstream file(path);
  if (!file.is_open()) {
    if (errno != ENOENT) return inspection.Unseen(path, words_of(errno));
    return tell_of_no_limit(path + " is missing", inspection);
  }
  std::string word;
  file >> word;
  check_limit(path, word, inspection);
}

}  // namespace

void check_places(Inspection& inspection) {
  check_tmp(inspection);
  check_proc(inspection);
  if (!inspection.mail_names.empty()) check_store(inspection);
  if (inspection.qmail_root.empty()) return;
  check_qmail_root(inspection);
  check_name(inspection);
  check_size_limit(inspection);
}
