#include "explain/check/delivery_files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sstream>
#include <unistd.h>

#include "explain/check/files.h"
#include "explain/check/inspection.h"
#include "support/base/letter_case.h"
#include "support/base/owned.h"

namespace {

// {0}: a file or directory; {1}: the mailboxes.
struct Fault {
  Severity severity;
  const char* code;
  const char* text;
};

constexpr Fault kHidden = {Severity::kUnseen, "not_seen",
                           "{0} could not be looked at; mail to {1} needs it"};
constexpr Fault kNoHome = {Severity::kError, "home_unusable",
                           "{0} is no directory: mail to {1} waits. Make it, or correct "
                           "users/assign and run qmail-newu."};
constexpr Fault kOpenHome = {Severity::kError, "home_unusable",
                             "{0} may be written by everybody, or is sticky: mail to {1} waits. "
                             "chmod o-w,-t {0}"};
constexpr Fault kNoFile = {Severity::kError, "delivery_file_missing",
                           "There is no {0}: mail to {1} bounces. Make it as operators.md says."};
constexpr Fault kRefusedFile = {Severity::kError, "delivery_file_refused",
                                "{0} may be written by everybody, or is executable: mail to {1} "
                                "waits. chmod 0644 {0}"};
constexpr Fault kNoProgram = {Severity::kWarning, "program_not_started",
                              "{0} does not start the program: the rules of {1} never reply. Add "
                              "the line that operators.md has."};
constexpr Fault kOtherProgram = {Severity::kError, "program_elsewhere",
                                 "{0} starts another file than the installed program: the rules "
                                 "of {1} never reply. Correct the path."};
constexpr Fault kNoExit = {Severity::kWarning, "failure_delivered_again",
                           "{0} starts the program without \"|| exit 0\": a run that fails makes "
                           "qmail deliver to {1} again and again. Add it to the line."};
constexpr Fault kNoMaildir = {Severity::kError, "maildir_missing",
                              "{0} is no Maildir: mail to {1} waits. Make it (maildirmake) and "
                              "give it to the mailbox's user, or correct the .qmail file."};
constexpr Fault kKeepsNothing = {Severity::kAdvice, "message_not_kept",
                                 "{0} keeps no message: mail to {1} is answered and gone."};

// Each fault with the first mailbox that has it, and the number of the others.
class FaultList {
 public:
  void Add(const Fault& fault, const std::string& path, const std::string& address) {
    for (Found& found : found_) {
      if (found.fault != &fault) continue;
      ++found.others;
      return;
    }
    found_.push_back({&fault, path, address, 0});
  }

  void Report(Inspection& inspection) const {
    for (const Found& found : found_) {
      const std::string others = found.others > 0 ? formatted(" and {} more", found.others) : "";
      inspection.Add(found.fault->severity, found.fault->code, found.fault->text, found.path,
                     found.address + others);
    }
  }

 private:
  struct Found {
    const Fault* fault;
    std::string path;
    std::string address;
    size_t others;
  };
  std::vector<Found> found_;
};

// Others do not count for the mail server either.
bool is_plain_file(const std::string& path) {
  const auto state = state_of(path);
  return state && S_ISREG(state->st_mode);
}

// The beginning of the file. It is a user's, who may put a pipe or something endless in its place
// at any time.
std::string beginning_of(const std::string& path) {
  std::string text(size_t{64} << 10, '\0');
  const OwnedDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const ssize_t length = file.IsOpen() ? read(file.number(), text.data(), text.size()) : 0;
  text.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return text;
}

// The file of the address, or of what it begins with, as qmail-local looks for them; the first name
// if there is none of them.
std::string file_for(const DeliveryUser& user) {
  std::string extension = lower_case(user.extension);
  for (char& c : extension) {
    if (c == '.') c = ':';
  }
  const std::string begin = user.home + "/.qmail" + user.dash;
  if (is_plain_file(begin + extension)) return begin + extension;
  for (size_t length = extension.size(); length != std::string::npos; --length) {
    if (length > 0 && extension[length - 1] != '-') continue;
    std::string path = begin + extension.substr(0, length) + "default";
    if (is_plain_file(path)) return path;
  }
  return begin + extension;
}

// The word of the command that names the program; nothing if none does.
std::optional<std::string> program_of(const std::string& command) {
  constexpr const char* kEnds = " \t;|&()'\"";
  const std::string name = "autoresponder";
  for (size_t start = 0; (start = command.find_first_not_of(kEnds, start)) != std::string::npos;) {
    const size_t end = std::min(command.find_first_of(kEnds, start), command.size());
    const std::string word = command.substr(start, end - start);
    const size_t slash = word.rfind('/');
    if (word.substr(slash == std::string::npos ? 0 : slash + 1) == name) return word;
    start = end;
  }
  return std::nullopt;
}

// Whether the path leads to no installed program, though there is one.
bool is_elsewhere(const std::string& path, const Inspection& inspection) {
  const auto state = state_of(path);
  bool is_installed = false;
  for (const std::string& installed : installed_programs(inspection)) {
    const auto other = state_of(installed);
    if (state && other && state->st_dev == other->st_dev && state->st_ino == other->st_ino) {
      return false;
    }
    is_installed = is_installed || other;
  }
  return is_installed;
}

bool is_maildir(const std::string& path) {
  const auto state = state_of(path + "new");
  return state && S_ISDIR(state->st_mode);
}

// What the lines of a .qmail file do.
struct Lines {
  std::string command;  // that starts the program
  std::string program;  // as the command names it
  std::vector<std::string> maildirs;
  bool keeps = false;
};

Lines read_lines(const std::string& path) {
  Lines lines;
  std::istringstream file(beginning_of(path));
  for (std::string line; std::getline(file, line);) {
    line.erase(line.find_last_not_of(" \t") + 1);
    if (line.empty() || line[0] == '#') continue;
    const auto program = line[0] == '|' ? program_of(line) : std::nullopt;
    if (program) lines.command = line, lines.program = *program;
    lines.keeps = lines.keeps || !program;
    const bool is_file = line[0] == '.' || line[0] == '/';
    if (is_file && line.back() == '/') lines.maildirs.push_back(line);
  }
  return lines;
}

void check_lines(const std::string& path, const DeliveredMailbox& delivery,
                 const Inspection& inspection, FaultList& faults) {
  const Lines lines = read_lines(path);
  const std::string& address = delivery.address;
  for (const std::string& maildir : lines.maildirs) {
    const std::string where = maildir[0] == '/' ? maildir : delivery.user.home + '/' + maildir;
    if (!is_maildir(where)) faults.Add(kNoMaildir, where, address);
  }
  if (lines.program.empty()) return faults.Add(kNoProgram, path, address);
  if (is_elsewhere(lines.program, inspection)) faults.Add(kOtherProgram, path, address);
  const bool ignores_failure = lines.command.find_first_of("|;", 1) != std::string::npos;
  if (!ignores_failure) faults.Add(kNoExit, path, address);
  if (!lines.keeps) faults.Add(kKeepsNothing, path, address);
}

void check_delivery(const DeliveredMailbox& delivery, const Inspection& inspection,
                    FaultList& faults) {
  const std::string& home = delivery.user.home;
  const auto home_state = state_of(home);
  if (!home_state && is_hidden_from_us(errno)) return faults.Add(kHidden, home, delivery.address);
  if (!home_state || !S_ISDIR(home_state->st_mode)) {
    return faults.Add(kNoHome, home, delivery.address);
  }
  if ((home_state->st_mode & (S_IWOTH | S_ISVTX)) != 0) {
    faults.Add(kOpenHome, home, delivery.address);
  }
  const std::string path = file_for(delivery.user);
  auto file = state_of(path);
  if (file && !S_ISREG(file->st_mode)) file.reset();
  if (!file && is_hidden_from_us(errno)) return faults.Add(kHidden, path, delivery.address);
  if (!file) {
    // Without a dash the mail server has a default for all.
    const Fault& fault = delivery.user.dash.empty() ? kNoProgram : kNoFile;
    return faults.Add(fault, path, delivery.address);
  }
  if ((file->st_mode & (S_IWOTH | S_IXUSR)) != 0) faults.Add(kRefusedFile, path, delivery.address);
  check_lines(path, delivery, inspection, faults);
}

}  // namespace

void check_delivery_files(const std::vector<DeliveredMailbox>& deliveries, Inspection& inspection) {
  FaultList faults;
  for (const DeliveredMailbox& delivery : deliveries) check_delivery(delivery, inspection, faults);
  faults.Report(inspection);
}
