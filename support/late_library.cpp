#include "support/late_library.h"

#include <cerrno>
#include <dlfcn.h>

#include "support/report.h"

namespace kem {

// dlerror() already explains it: suppress the errno suffix of the report.
void LateLibrary::End() const {
  errno = 0;
  report_error(1, 0, "Unable to load %s: %s", name_, dlerror());
}

void LateLibrary::Load() {
  if (library_ != nullptr) return;
  const int saved_errno = errno;  // dlopen() sets it even if it succeeds
  library_ = dlopen(file_, flags_);
  if (library_ == nullptr) End();
  errno = saved_errno;
}

void* LateLibrary::Find(const char* name) {
  Load();
  void* function = dlsym(RTLD_DEFAULT, name);
  if (function == nullptr) function = dlsym(library_, name);
  if (function == nullptr) End();
  return function;
}

const char* LateLibrary::Trouble() const {
  return dlopen(file_, flags_) == nullptr ? dlerror() : nullptr;
}

}  // namespace kem
