#ifndef SUPPORT_BASE_DESCRIPTORS_H
#define SUPPORT_BASE_DESCRIPTORS_H

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

/// Whether `path` leads to the file that is open as `descriptor`.
inline bool is_path_of(const char* path, int descriptor) {
  struct stat named {};
  struct stat opened {};
  return stat(path, &named) == 0 && fstat(descriptor, &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

/// The numbers of all open descriptors; none if the system does not list them.
inline std::vector<int> open_descriptors() {
  struct Close {
    void operator()(DIR* directory) const { closedir(directory); }
  };
  std::vector<int> numbers;
  const std::unique_ptr<DIR, Close> directory(opendir("/proc/self/fd"));
  if (!directory) return numbers;
  while (const dirent* const entry = readdir(directory.get())) {
    const bool is_number = entry->d_name[0] != '.';
    if (is_number) numbers.push_back(atoi(entry->d_name));
  }
  return numbers;
}

/// Closes all descriptors from `first` on. Call it before lowering a limit on descriptors, which
/// may bound the search.
inline void close_descriptors(unsigned first) {
  if (close_range(first, ~0U, 0) == 0) return;
  const int start = static_cast<int>(first);
  const std::vector<int> numbers = open_descriptors();
  for (const int number : numbers) {
    if (number >= start) close(number);
  }
  if (!numbers.empty()) return;
  constexpr rlim_t kMin = 65536;
  constexpr rlim_t kMax = rlim_t{1} << 20;
  struct rlimit limit {};
  getrlimit(RLIMIT_NOFILE, &limit);
  const int end = static_cast<int>(std::clamp(limit.rlim_max, kMin, kMax));
  for (int descriptor = start; descriptor < end; ++descriptor) close(descriptor);
}

#endif
