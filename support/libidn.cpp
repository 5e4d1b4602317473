#include "support/libidn.h"

#include <cerrno>
#include <dlfcn.h>

#include "support/report.h"

namespace kem {

namespace {

// dlerror() already explains it: without errno the report adds no second explanation.
void end_without_libidn() {
  errno = 0;
  report_error(1, 0, "Unable to load libidn: %s", dlerror());
}

void* load() {
  const int saved_errno = errno;  // the search for the file sets it, also when it succeeds
  void* const library = dlopen(LIBIDN_FILE, RTLD_NOW);
  if (library == nullptr) end_without_libidn();
  errno = saved_errno;
  return library;
}

void* loaded_library() {
  static void* const library = load();
  return library;
}

}  // namespace

void load_libidn() {
  loaded_library();
}

const char* libidn_trouble() {
  return dlopen(LIBIDN_FILE, RTLD_NOW) == nullptr ? dlerror() : nullptr;
}

void* find_libidn_function(const char* name) {
  void* const library = loaded_library();
  // A preloaded or linked function of this name comes first, as it would if libidn were linked.
  void* function = dlsym(RTLD_DEFAULT, name);
  if (function == nullptr) function = dlsym(library, name);
  if (function == nullptr) end_without_libidn();
  return function;
}

}  // namespace kem
