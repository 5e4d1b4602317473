#include "autoresponder/reply/direct_run.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

#include "support/base/descriptors.h"
#include "support/base/owned.h"

namespace {

// Other shells have an environment of their own for their commands.
bool is_dash() {
  char target[8];
  const ssize_t length = readlink("/bin/sh", target, sizeof target);
  return length >= 0 && std::string_view(target, static_cast<size_t>(length)) == "dash";
}

// The name of a variable that a shell would take over; empty for other entries.
std::string_view name_of(std::string_view entry) {
  const std::string_view name = entry.substr(0, entry.find('='));
  const auto is_part = [](char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
  };
  const bool is_name = name.size() < entry.size() && !name.empty() &&
                       isdigit(static_cast<unsigned char>(name.front())) == 0 &&
                       std::all_of(name.begin(), name.end(), is_part);
  return is_name ? name : std::string_view();
}

// A shell would put values of its own into these.
bool is_of_shell(std::string_view name) {
  return name == "IFS" || name == "LINENO" || name == "OPTIND" || name == "PPID";
}

// The environment that dash gives its commands, but for the order.
class ShellEnvironment {
 public:
  ShellEnvironment() {
    for (char** entry = environ; *entry != nullptr; ++entry) Take(*entry);
    const char* const pwd = getenv("PWD");
    if (pwd == nullptr || *pwd != '/' || !is_working_directory(pwd)) SetWorkingDirectory();
    entries_.push_back(nullptr);
  }

  // Whether the shell would have no other.
  bool IsRight() const { return is_right_; }
  char** entries() { return entries_.data(); }

 private:
  static bool is_working_directory(const char* path) {
    const OwnedDescriptor here(open(".", O_PATH | O_CLOEXEC));
    return here.number() >= 0 && is_path_of(path, here.number());
  }

  // Of entries with one name the shell keeps the last.
  void Take(char* entry) {
    const std::string_view name = name_of(entry);
    if (name.empty()) return;
    if (is_of_shell(name)) is_right_ = false;
    const auto same = std::find_if(entries_.begin(), entries_.end(),
                                   [name](const char* other) { return name_of(other) == name; });
    if (same != entries_.end()) entries_.erase(same);
    entries_.push_back(entry);
  }

  void SetWorkingDirectory() {
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) == nullptr) {
      is_right_ = false;
      return;
    }
    working_directory_ = std::string("PWD=") + path;
    Take(working_directory_.data());
  }

  bool is_right_ = true;
  std::string working_directory_;
  std::vector<char*> entries_;
};

// As `system` does: an interrupt is for the command, and no handler takes its end away.
class WaitingSignals {
 public:
  WaitingSignals() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGINT, &ignore, &interrupt_);
    sigaction(SIGQUIT, &ignore, &quit_);
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, &mask_);
  }
  ~WaitingSignals() {
    sigaction(SIGINT, &interrupt_, nullptr);
    sigaction(SIGQUIT, &quit_, nullptr);
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
  }
  WaitingSignals(const WaitingSignals&) = delete;
  WaitingSignals& operator=(const WaitingSignals&) = delete;

  // Gives the command the caller's actions; handlers end with the program. The shell unblocks all
  // signals, and lets none of its commands ignore the end of a child.
  void GiveBack(posix_spawnattr_t* attributes) const {
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGCHLD);
    if (interrupt_.sa_handler != SIG_IGN) sigaddset(&defaults, SIGINT);
    if (quit_.sa_handler != SIG_IGN) sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_setsigdefault(attributes, &defaults);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(attributes, &none);
    posix_spawnattr_setflags(attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }

 private:
  struct sigaction interrupt_ {};
  struct sigaction quit_ {};
  sigset_t mask_{};
};

// Starts the command; 0 if that fails.
pid_t start(PlainCommand& command, char** environment, const WaitingSignals& signals) {
  std::vector<char*> words;
  words.reserve(command.words.size() + 1);
  for (std::string& word : command.words) words.push_back(word.data());
  words.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&attributes);
  if (!command.input.empty()) {
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, command.input.c_str(), O_RDONLY, 0);
  }
  signals.GiveBack(&attributes);
  pid_t child = 0;
  const int error =
      posix_spawn(&child, words.front(), &files, &attributes, words.data(), environment);
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  return error == 0 ? child : 0;
}

}  // namespace

bool run_directly(PlainCommand command) {
  if (!is_dash()) return false;
  ShellEnvironment environment;
  if (!environment.IsRight()) return false;
  const WaitingSignals signals;
  const pid_t child = start(command, environment.entries(), signals);
  if (child == 0) return false;
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return true;
}
