#include "autoresponder/confinement/file_rules.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/base/owned.h"

namespace {

// The kernel's interface (Landlock). Numbers, because some versions of it are newer than the
// headers.
constexpr long kCreateRuleset = 444;
constexpr long kAddRule = 445;
constexpr long kRestrictSelf = 446;
constexpr unsigned kAskVersion = 1;
constexpr int kPathBeneath = 1;
constexpr uint64_t kReadFile = 1 << 2;
constexpr uint64_t kReadDirectory = 1 << 3;  // needed without gconv-modules.cache

struct Ruleset {
  uint64_t file_access;
  uint64_t network_access;
  uint64_t scopes;
};

struct [[gnu::packed]] PathRule {
  uint64_t allowed;
  int32_t directory;
};

// All access that this version of the interface can restrict.
Ruleset everything(long version) {
  Ruleset all{(1 << 13) - 1, 0, 0};
  if (version >= 2) all.file_access |= 1 << 13;  // to link and rename into other directories
  if (version >= 3) all.file_access |= 1 << 14;  // to truncate
  if (version >= 4) all.network_access = 3;      // to bind and connect by TCP
  if (version >= 5) all.file_access |= 1 << 15;  // to control devices
  if (version >= 6) all.scopes = 3;              // abstract sockets and signals
  return all;
}

size_t size_of_ruleset(long version) {
  if (version < 4) return sizeof(uint64_t);
  return version < 6 ? 2 * sizeof(uint64_t) : sizeof(Ruleset);
}

// False if there is no such directory.
bool allow_reading(const OwnedDescriptor& ruleset, const char* directory) {
  const OwnedDescriptor opened(open(directory, O_PATH | O_CLOEXEC));
  if (!opened.IsOpen()) return false;
  const PathRule rule{kReadFile | kReadDirectory, opened.number()};
  syscall(kAddRule, ruleset.number(), kPathBeneath, &rule, 0);
  return true;
}

// Where the C library keeps its converters: a directory for this kind of processor, as in Debian,
// or one for all.
constexpr const char* kConverters[] = {"/usr/lib/" LIBRARY_ARCHITECTURE "/gconv",
                                       "/usr/lib64/gconv", "/usr/lib/gconv"};

}  // namespace

bool enter_file_rules() {
  const long version = syscall(kCreateRuleset, nullptr, 0, kAskVersion);
  if (version < 1) return false;
  const Ruleset all = everything(version);
  const OwnedDescriptor ruleset(
      static_cast<int>(syscall(kCreateRuleset, &all, size_of_ruleset(version), 0)));
  if (!ruleset.IsOpen()) return false;
  for (const char* const directory : kConverters) {
    if (allow_reading(ruleset, directory)) break;
  }
  return syscall(kRestrictSelf, ruleset.number(), 0) == 0;
}
