// Preloaded into the program: records what it does outside itself as a script for `floor`, in the
// file that FLOOR_SCRIPT names.

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The last response file, and whether no command has used it yet. In shared memory, because a
// command may run in a child process.
struct Reply {
  bool is_new;
  char path[64];
};

Reply& reply() {
  static auto* const shared = static_cast<Reply*>(
      mmap(nullptr, sizeof(Reply), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *shared;
}

// Whether a call comes from the client library itself.
bool& is_inside() {
  static bool inside = false;
  return inside;
}

// The file that the next command reads.
std::string& input() {
  static std::string path;
  return path;
}

// Writes an entry by one call, so that entries of two processes do not mix. Each text ends in a
// NUL.
void record(char what, std::string_view first, std::string_view second) {
  std::string entry(1, what);
  entry += std::to_string(first.size()) + " " + std::to_string(second.size()) + " ";
  entry.append(first).append(1, '\0').append(second).append(1, '\0');
  const int file = open(getenv("FLOOR_SCRIPT"), O_WRONLY | O_APPEND | O_CREAT, 0600);
  if (write(file, entry.data(), entry.size()) != static_cast<ssize_t>(entry.size())) abort();
  close(file);
}

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Records the reply when a command first uses it: until then only the program itself has written to
// it.
void record_file_for(std::string_view command) {
  if (!reply().is_new || command.find(reply().path) == std::string_view::npos) return;
  record('W', reply().path, content_of(reply().path));
  reply().is_new = false;
}

}  // namespace

extern "C" {

int mkostemp(char* name, int flags) {
  const int file = next<int (*)(char*, int)>("mkostemp")(name, flags);
  const bool is_spool = strstr(name, "kem-autoresponder-") != nullptr;
  if (is_spool) {
    record('S', name, "");
  } else {
    reply().is_new = true;
    snprintf(reply().path, sizeof reply().path, "%s", name);
  }
  return file;
}

int unlink(const char* path) noexcept {
  const int status = next<int (*)(const char*)>("unlink")(path);
  if (status == 0) record('U', path, "");
  return status;
}

int system(const char* command) {
  record_file_for(command);
  record('X', command, "");
  // The shell and what it starts are not the program.
  unsetenv("LD_PRELOAD");
  return next<int (*)(const char*)>("system")(command);
}

int posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int descriptor,
                                     int number) noexcept {
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  char path[PATH_MAX];
  const ssize_t size = readlink(link.c_str(), path, sizeof path);
  if (number == STDIN_FILENO && size > 0) input().assign(path, static_cast<size_t>(size));
  using AddDuplicate = int (*)(posix_spawn_file_actions_t*, int, int);
  return next<AddDuplicate>("posix_spawn_file_actions_adddup2")(actions, descriptor, number);
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* words, char* const* environment) {
  std::string joined;
  for (char* const* word = words; *word != nullptr; ++word) joined.append(*word).append(1, '\0');
  record_file_for(input());
  record('P', input(), joined);
  std::vector<char*> without_us;
  for (char* const* entry = environment; *entry != nullptr; ++entry) {
    if (strncmp(*entry, "LD_PRELOAD=", 11) != 0) without_us.push_back(*entry);
  }
  without_us.push_back(nullptr);
  using Spawn = decltype(&posix_spawn);
  return next<Spawn>("posix_spawn")(child, path, actions, attributes, words, without_us.data());
}

FILE* popen(const char* command, const char*) {
  fprintf(stderr, "recorder: no script can hold a command with a pipe: %s\n", command);
  abort();
}

void* mysql_real_connect(void* handle, const char* host, const char* user, const char* password,
                         const char* database, unsigned port, const char* socket,
                         unsigned long flags) {
  record('C', "", "");
  is_inside() = true;
  using Connect = void* (*)(void*, const char*, const char*, const char*, const char*, unsigned,
                            const char*, unsigned long);
  void* const result = next<Connect>("mysql_real_connect")(handle, host, user, password, database,
                                                           port, socket, flags);
  is_inside() = false;
  return result;
}

int mysql_real_query(void* handle, const char* statement, unsigned long length) {
  if (!is_inside()) record('Q', {statement, length}, "");
  return next<int (*)(void*, const char*, unsigned long)>("mysql_real_query")(handle, statement,
                                                                              length);
}

int mysql_query(void* handle, const char* statement) {
  return mysql_real_query(handle, statement, strlen(statement));
}

}  // extern "C"
