#include "support/libidn.h"

#include <cerrno>
#include <dlfcn.h>

#include "support/report.h"

void* find_libidn_function(const char* name) {
  const int saved_errno = errno;  // of the search for the library nobody need hear
  static void* const library = dlopen(LIBIDN_FILE, RTLD_NOW | RTLD_GLOBAL);
  // As if it had been loaded at the start: one that hides it comes first.
  void* const function = library != nullptr ? dlsym(RTLD_DEFAULT, name) : nullptr;
  errno = saved_errno;
  if (function == nullptr) report_error(1, 0, "%s", dlerror());
  return function;
}
