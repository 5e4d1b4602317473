// Preloaded into the programs by tests: acts as an intruder who controls the process in which a
// message is taken apart. A message whose charset is "x-intruder-DEED" makes that process do the
// deed when it asks for a converter. If the process survives, it reports the outcome by a
// diagnostic that is allowed: "wrong rfc1522 sequence (no data): =?DEED:done", or with the name of
// the error.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <initializer_list>
#include <linux/futex.h>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <iconv.h>

namespace {

// The run: set when the program starts.
const pid_t kParent = getpid();

std::string of_parent(const char* name) {
  return "/proc/" + std::to_string(kParent) + "/" + name;
}

int open_file(const std::string& name, int flags) {
  return open(name.c_str(), flags, 0600);
}

int connect_to(const char* path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{AF_UNIX, ""};
  strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  return socket < 0 ? -1 : connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
}

int copy_memory_of_parent() {
  char bytes[8];
  iovec here{bytes, sizeof bytes};
  iovec there{bytes, sizeof bytes};  // a fork has its stack at the same place
  return process_vm_readv(kParent, &here, 1, &there, 1, 0) < 0 ? -1 : 0;
}

int list_temporary_files() {
  return opendir("/tmp") != nullptr ? 0 : -1;
}

int find_descriptor() {
  for (int descriptor = 3; descriptor < 1024; ++descriptor) {
    if (lseek(descriptor, 0, SEEK_CUR) >= 0 || errno != EBADF) return 0;
  }
  return lseek(1, 0, SEEK_CUR) >= 0 || errno != EBADF ? 0 : -1;
}

int map(int protection) {
  return mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED ? 0 : -1;
}

int make_executable() {
  void* const page =
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return mprotect(page, 4096, PROT_READ | PROT_EXEC);
}

int take_memory() {
  for (int i = 0; i < 64; ++i) {
    void* const memory = malloc(size_t{16} << 20);
    if (memory == nullptr) return -1;
    memset(memory, 1, size_t{16} << 20);
  }
  return 0;
}

// Takes memory that RLIMIT_DATA does not count.
int take_other_memory(int flags) {
  constexpr size_t kPiece = size_t{16} << 20;
  for (int i = 0; i < 64; ++i) {
    void* const memory =
        mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_ANONYMOUS | flags, -1, 0);
    if (memory == MAP_FAILED) return -1;
    memset(memory, 1, kPiece);
  }
  return 0;
}

// Maps a page in each gigabyte: each takes a page table of its own, which no limit counts.
int take_page_tables() {
  constexpr uintptr_t kFirst = uintptr_t{1} << 41;
  for (uintptr_t i = 0; i < 30000; ++i) {
    auto* const place = reinterpret_cast<void*>(kFirst + (i << 30));
    void* const page =
        mmap(place, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (page == MAP_FAILED) return -1;
    static_cast<void>(*static_cast<volatile char*>(page));
  }
  return 0;
}

int take_descriptors() {
  for (int i = 0; i < 100; ++i) {
    if (open("/usr/lib/x86_64-linux-gnu/gconv", O_RDONLY) < 0 &&
        open("/usr/lib/aarch64-linux-gnu/gconv", O_RDONLY) < 0) {
      return -1;
    }
  }
  return 0;
}

int map_log(int protection, int flags) {
  return mmap(nullptr, 4096, protection, flags, STDERR_FILENO, 0) != MAP_FAILED ? 0 : -1;
}

// Maps written memory a second time; the second mapping could be executable.
int map_once_more() {
  void* const page =
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return mremap(page, 0, 4096, MREMAP_MAYMOVE) != MAP_FAILED ? 0 : -1;
}

int lift_limit(pid_t process, decltype(RLIMIT_CPU) resource) {
  const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
  return prlimit(process, resource, &none, nullptr);
}

int report(const char* line, int count) {
  for (int i = 0; i < count; ++i) fputs(line, stderr);
  fflush(stderr);
  return 0;
}

int compute_for_ever() {
  for (volatile unsigned i = 0;; i = i + 1) {
  }
}

int sleep_for_ever() {
  int word = 0;
  return static_cast<int>(syscall(SYS_futex, &word, FUTEX_WAIT, 0, nullptr));
}

int send_bytes(size_t length) {
  static char bytes[65536];
  memset(bytes, 'x', sizeof bytes);
  for (size_t sent = 0; sent < length; sent += sizeof bytes) {
    if (write(0, bytes, std::min(length - sent, sizeof bytes)) < 0) _exit(0);
  }
  _exit(0);
}

int send_numbers(std::initializer_list<uint64_t> numbers) {
  for (const uint64_t number : numbers) {
    if (write(0, &number, sizeof number) < 0) break;
  }
  _exit(0);
}

constexpr uint64_t kResult = 0x52657375'6C743031;
constexpr char kDatabase[] = "/var/run/mysqld/mysqld.sock";

struct Deed {
  const char* name;
  int (*act)();  // below 0 where it failed, with errno
};

const Deed kDeeds[] = {
    {"read-password", [] { return open_file("/etc/kem/.kem.shadow", O_RDONLY); }},
    {"read-configuration", [] { return open_file("/etc/kem/kem.conf", O_RDONLY); }},
    {"read-users", [] { return open_file("/etc/passwd", O_RDONLY); }},
    {"read-spool", [] { return open_file(of_parent("fd/3"), O_RDONLY); }},
    {"list-tmp", list_temporary_files},
    {"write-tmp", [] { return open_file("/tmp/intruder", O_WRONLY | O_CREAT); }},
    {"remove-file", [] { return unlink("/tmp/victim"); }},
    {"read-memory-of-parent", [] { return open_file(of_parent("mem"), O_RDONLY); }},
    {"write-memory-of-parent", [] { return open_file(of_parent("mem"), O_RDWR); }},
    {"find-descriptor", find_descriptor},
    {"lift-file-size", [] { return lift_limit(0, RLIMIT_FSIZE); }},
    {"lift-processor-time", [] { return lift_limit(0, RLIMIT_CPU); }},
    {"limit-parent", [] { return lift_limit(kParent, RLIMIT_CPU); }},
    {"share-code",
     [] {
       return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_SHARED | MAP_ANONYMOUS, -1, 0) !=
                      MAP_FAILED
                  ? 0
                  : -1;
     }},
    {"map-once-more", map_once_more},
    {"run-log", [] { return map_log(PROT_READ | PROT_EXEC, MAP_PRIVATE); }},
    {"change-log", [] { return map_log(PROT_READ | PROT_WRITE, MAP_SHARED); }},
    {"write-log", [] { return static_cast<int>(write(STDERR_FILENO, "x", 1)); }},
    {"read-terminal",
     [] {
       char byte = 0;
       return static_cast<int>(read(STDERR_FILENO, &byte, 1));
     }},
    {"take-page-tables", take_page_tables},
    {"take-descriptors", take_descriptors},
    {"forge-log", [] { return report("autoresponder: no reply, courtesy: spam\n", 1); }},
    {"flood-log", [] { return report("Bad base64 symbol: *\n", 100000); }},
    {"flood-log-with-empty-lines", [] { return report("\n", 1000000); }},
    {"map-code", [] { return map(PROT_READ | PROT_WRITE | PROT_EXEC); }},
    {"make-code", make_executable},
    {"take-memory", take_memory},
    {"take-shared-memory", [] { return take_other_memory(MAP_SHARED); }},
    {"take-stack-memory", [] { return take_other_memory(MAP_PRIVATE | MAP_GROWSDOWN); }},
    {"rewrite-log", [] { return static_cast<int>(lseek(2, 0, SEEK_SET)); }},
    {"connect-database", [] { return connect_to(kDatabase); }},
    {"internet-socket", [] { return socket(AF_INET, SOCK_STREAM, 0); }},
    {"exec", [] { return execl("/bin/true", "true", nullptr); }},
    {"fork", [] { return static_cast<int>(fork()); }},
    {"vfork-by-clone", [] { return static_cast<int>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); }},
    {"kill-parent", [] { return kill(kParent, SIGTERM); }},
    {"kill-thread-of-parent",
     [] { return static_cast<int>(syscall(SYS_tgkill, kParent, kParent, SIGTERM)); }},
    {"trace-parent", [] { return static_cast<int>(ptrace(PTRACE_ATTACH, kParent, 0, 0)); }},
    {"copy-memory-of-parent", copy_memory_of_parent},
    {"mount", [] { return mount("none", "/mnt", "tmpfs", 0, nullptr); }},
    {"become-root", [] { return setresuid(0, 0, 0); }},
    {"new-namespace", [] { return unshare(CLONE_NEWUSER); }},
    {"compute-for-ever", compute_for_ever},
    {"sleep", sleep_for_ever},
    {"crash", [] { return raise(SIGSEGV); }},
    {"abort", []() -> int { abort(); }},
    {"exit", []() -> int { _exit(0); }},
    {"send-garbage", [] { return send_bytes(5000); }},
    {"send-much", [] { return send_bytes(size_t{10} << 30); }},
    {"send-part",
     [] {
       return send_numbers({kResult, 0, 2, 20});
     }},
    {"send-long-text",
     [] {
       return send_numbers({kResult, 0, 2, uint64_t{10} << 30});
     }},
    {"send-abort",
     [] {
       return send_numbers({kResult, 3, 0});
     }},
    {"send-unknown-outcome",
     [] {
       return send_numbers({kResult, 9});
     }},
};

void act(const char* name) {
  for (const Deed& deed : kDeeds) {
    if (strcmp(deed.name, name) != 0) continue;
    const bool done = deed.act() >= 0;
    fprintf(stderr, "wrong rfc1522 sequence (no data): =?%s:%s\n", name,
            done ? "done" : strerrorname_np(errno));
  }
}

}  // namespace

// As in a container in which a process cannot change its groups.
extern "C" int setgroups(size_t count, const gid_t* groups) {
  if (getenv("KEM_KEEPS_GROUPS") == nullptr) {
    return static_cast<int>(syscall(SYS_setgroups, count, groups));
  }
  errno = EPERM;
  return -1;
}

// As on a system on which no process can be started.
extern "C" pid_t fork() {
  if (getenv("KEM_KEEPS_ALONE") == nullptr)
    return reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))();
  errno = EAGAIN;
  return -1;
}

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  constexpr char kPrefix[] = "x-intruder-";
  constexpr size_t kLength = sizeof kPrefix - 1;
  if (strncmp(from, kPrefix, kLength) == 0) act(from + kLength);
  const auto real =
      reinterpret_cast<iconv_t (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "iconv_open"));
  return real(to, from);
}
