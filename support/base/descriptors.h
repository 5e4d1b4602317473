#ifndef SUPPORT_BASE_DESCRIPTORS_H
#define SUPPORT_BASE_DESCRIPTORS_H

#include <sys/resource.h>
#include <unistd.h>

/// Closes all descriptors from `first` on.
inline void close_descriptors(unsigned first) {
  if (close_range(first, ~0U, 0) == 0) return;
  struct rlimit now {};
  const bool is_known = getrlimit(RLIMIT_NOFILE, &now) == 0 && now.rlim_max < 65536;
  const int end = is_known ? static_cast<int>(now.rlim_max) : 65536;
  for (int descriptor = static_cast<int>(first); descriptor < end; ++descriptor) close(descriptor);
}

#endif
