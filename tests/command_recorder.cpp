// Writes to standard output what a command can see of itself: its arguments, its environment in
// order of the names, its descriptors, signals, places and groups, and what is left of its standard
// input.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

void write_text(const char* name, const std::string& text) {
  printf("%s: %s\n", name, text.c_str());
}

std::string link_at(const std::string& path) {
  char target[4096];
  const ssize_t length = readlink(path.c_str(), target, sizeof target);
  return length < 0 ? "-" : std::string(target, static_cast<size_t>(length));
}

void write_signals() {
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  std::string text;
  for (int number = 1; number <= SIGRTMAX; ++number) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    if (action.sa_handler == SIG_IGN) text += " ignores " + std::to_string(number);
    if (sigismember(&blocked, number) == 1) text += " blocks " + std::to_string(number);
  }
  write_text("signals", text);
}

void write_descriptors() {
  for (int number = 0; number < 64; ++number) {
    const std::string target = link_at("/proc/self/fd/" + std::to_string(number));
    if (target == "-") continue;
    const std::string flags = " " + std::to_string(fcntl(number, F_GETFL));
    write_text(("descriptor " + std::to_string(number)).c_str(), target + flags);
  }
}

void write_places() {
  char directory[4096];
  write_text("directory", getcwd(directory, sizeof directory) != nullptr ? directory : "none");
  const mode_t mask = umask(0);
  write_text("umask", std::to_string(mask));
  write_text("group", std::to_string(getpgrp()));
  write_text("session", std::to_string(getsid(0)));
  write_text("user", std::to_string(getuid()) + " " + std::to_string(geteuid()));
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 0; i < count; ++i) write_text("argument", arguments[i]);
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  std::sort(environment.begin(), environment.end());
  for (const std::string& entry : environment) write_text("environment", entry);
  write_descriptors();
  write_signals();
  write_places();
  char block[4096];
  for (size_t length = 0; (length = fread(block, 1, sizeof block, stdin)) > 0;) {
    fwrite(block, 1, length, stdout);
  }
}
