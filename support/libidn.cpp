#include "support/libidn.h"

#include <cerrno>
#include <dlfcn.h>

#include "support/report.h"

namespace {

// The loader's words say what the system's error number would.
void end_without_libidn() {
  errno = 0;
  report_error(1, 0, "Unable to load libidn: %s", dlerror());
}

}  // namespace

void load_libidn() {
  static void* library = nullptr;
  if (library != nullptr) return;
  const int saved_errno = errno;  // a later report is not to name what the search met
  library = dlopen(LIBIDN_FILE, RTLD_NOW | RTLD_GLOBAL);
  if (library == nullptr) end_without_libidn();
  errno = saved_errno;
}

void* find_libidn_function(const char* name) {
  load_libidn();
  // As if it had been loaded at the start: a function that hides it comes first.
  void* const function = dlsym(RTLD_DEFAULT, name);
  if (function == nullptr) end_without_libidn();
  return function;
}
