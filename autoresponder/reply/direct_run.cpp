#include "autoresponder/reply/direct_run.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/base/descriptors.h"
#include "support/base/owned.h"
#include "support/base/signals.h"
#include "support/base/text.h"

namespace {

bool is_blank(char byte) {
  return byte == ' ' || byte == '\t';
}

// Reads the rest of a command line.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}

  bool AtEnd() const { return rest_.empty(); }

  void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }

  bool Take(char byte) {
    const bool is_next = !rest_.empty() && rest_.front() == byte;
    if (is_next) rest_.remove_prefix(1);
    return is_next;
  }

  // The word that begins here; nothing if only a shell can read it.
  std::optional<std::string> Word() {
    std::string word;
    while (!rest_.empty() && !is_blank(rest_.front())) {
      const bool is_quoted = Take('\'');
      const size_t length = is_quoted ? rest_.find('\'') : PlainLength();
      if (length == std::string_view::npos || (length == 0 && !is_quoted)) return std::nullopt;
      word += rest_.substr(0, length);
      rest_.remove_prefix(is_quoted ? length + 1 : length);
    }
    return word;
  }

 private:
  // Bytes of multibyte characters are left to the shell's own locale.
  size_t PlainLength() const {
    const auto* const end = std::find_if_not(rest_.begin(), rest_.end(), [](char byte) {
      return static_cast<unsigned char>(byte) < 0x80 && is_plain_for_shell(byte) && !is_blank(byte);
    });
    return static_cast<size_t>(end - rest_.begin());
  }

  std::string_view rest_;
};

// Otherwise the shell would look for the program, or assign to a variable.
bool is_program(const std::string& word) {
  return word.find('/') != std::string::npos && word.find('=') == std::string::npos;
}

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
    for (char** entry = environ; *entry != nullptr && is_right_; ++entry) Take(*entry);
    if (!HasWorkingDirectory()) SetWorkingDirectory();
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

  std::vector<char*>::iterator Find(std::string_view name) {
    return std::find_if(entries_.begin(), entries_.end(),
                        [name](const char* entry) { return name_of(entry) == name; });
  }

  // Of entries with one name the shell keeps the last. It is faster where there are very many.
  void Take(char* entry) {
    constexpr size_t kMaxEntries = 1000;
    const std::string_view name = name_of(entry);
    if (name.empty()) return;
    if (is_of_shell(name) || entries_.size() == kMaxEntries) is_right_ = false;
    if (const auto same = Find(name); same != entries_.end()) entries_.erase(same);
    entries_.push_back(entry);
  }

  bool HasWorkingDirectory() {
    constexpr size_t kValue = 4;  // after "PWD="
    const auto found = Find("PWD");
    return found != entries_.end() && (*found)[kValue] == '/' &&
           is_working_directory(*found + kValue);
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
  }
  ~WaitingSignals() {
    sigaction(SIGINT, &interrupt_, nullptr);
    sigaction(SIGQUIT, &quit_, nullptr);
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
  const SignalBlock child_{SIGCHLD};
};

// Starts the command, with its input already open; 0 if that fails.
pid_t start(PlainCommand& command, int input, char** environment, const WaitingSignals& signals) {
  std::vector<char*> words;
  words.reserve(command.words.size() + 1);
  for (std::string& word : command.words) words.push_back(word.data());
  words.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&attributes);
  signals.GiveBack(&attributes);
  pid_t child = 0;
  int error = input >= 0 ? posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO) : 0;
  if (error == 0) {
    error = posix_spawn(&child, words.front(), &files, &attributes, words.data(), environment);
  }
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  return error == 0 ? child : 0;
}

// Opens the command's input here: while posix_spawn works, all signals wait, and a file that is no
// plain one could keep it for ever. Nothing where the shell has to open it.
std::optional<OwnedDescriptor> open_input(const std::string& path) {
  if (path.empty()) return OwnedDescriptor(-1);
  OwnedDescriptor input(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!input.IsOpen() || fstat(input.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  fcntl(input.number(), F_SETFL, O_RDONLY);  // the command gets it without O_NONBLOCK
  return input;
}

// As the shell does, except for the signals of which it says nothing.
void report_death(int status) {
  if (!WIFSIGNALED(status)) return;
  const int signal = WTERMSIG(status);
  if (signal == SIGINT || signal == SIGPIPE) return;
  diagnose({strsignal(signal), WCOREDUMP(status) ? " (core dumped)" : ""});
}

}  // namespace

std::optional<PlainCommand> plain_command(std::string_view line) {
  if (line.find('\0') != std::string_view::npos)
    return std::nullopt;  // the shell's line ends there
  PlainCommand command;
  Words words(line);
  for (words.SkipBlanks(); !words.AtEnd(); words.SkipBlanks()) {
    if (!command.input.empty()) return std::nullopt;
    const bool is_input = words.Take('<');
    if (is_input) words.SkipBlanks();
    auto word = words.Word();
    if (!word || (is_input && word->empty())) return std::nullopt;
    if (is_input) {
      command.input = std::move(*word);
    } else {
      command.words.push_back(std::move(*word));
    }
  }
  if (command.words.empty() || !is_program(command.words.front())) return std::nullopt;
  return command;
}

bool is_plain_for_shell(char byte) {
  const auto number = static_cast<unsigned char>(byte);
  const bool is_letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  const bool is_digit = byte >= '0' && byte <= '9';
  return number >= 0x80 || is_letter || is_digit ||
         std::string_view("@._+-=:/,% \t").find(byte) != std::string_view::npos;
}

bool run_directly(PlainCommand command) {
  const bool has_own_rights = getuid() == geteuid() && getgid() == getegid();
  if (!is_dash() || !has_own_rights) return false;  // dash would give up the others
  ShellEnvironment environment;
  const auto input = open_input(command.input);
  if (!environment.IsRight() || !input) return false;
  int status = 0;
  {
    const WaitingSignals signals;
    const pid_t child = start(command, input->number(), environment.entries(), signals);
    if (child == 0) return false;
    TEMP_FAILURE_RETRY(waitpid(child, &status, 0));
  }
  report_death(status);
  return true;
}
