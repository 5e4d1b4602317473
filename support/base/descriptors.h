#pragma once

#include <algorithm>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

/// Whether `path` leads to the file that is open as `descriptor`.
inline bool is_path_of(const char* path, int descriptor) {
  struct stat named {};
  struct stat opened {};
  return stat(path, &named) == 0 && fstat(descriptor, &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

/// Closes all descriptors from `first` on. Call it before lowering a limit on descriptors, which
/// may bound the search.
inline void close_descriptors(unsigned first) {
  if (close_range(first, ~0U, 0) == 0) return;
  constexpr rlim_t kMin = 65536;
  constexpr rlim_t kMax = rlim_t{1} << 20;
  struct rlimit limit {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const auto end = static_cast<unsigned>(std::clamp(limit.rlim_max, kMin, kMax));
  for (unsigned number = first; number < end; ++number) close(static_cast<int>(number));
}
