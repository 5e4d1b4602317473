#include "support/libidn.h"

#include <cerrno>
#include <dlfcn.h>

#include "support/report.h"

namespace kem {

namespace {

// The loader's words say what the system's error number would.
void end_without_libidn() {
  errno = 0;
  report_error(1, 0, "Unable to load libidn: %s", dlerror());
}

void* load() {
  const int saved_errno = errno;  // a later report is not to name what the search met
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

void* find_libidn_function(const char* name) {
  void* const library = loaded_library();
  // As if it had been loaded at the start: a function that hides it comes first.
  void* function = dlsym(RTLD_DEFAULT, name);
  if (function == nullptr) function = dlsym(library, name);
  if (function == nullptr) end_without_libidn();
  return function;
}

}  // namespace kem
