#pragma once

#include <algorithm>
#include <string>
#include <string_view>
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

/// What the file that is open as `descriptor` holds before the first occurrence of `end`; all of it
/// if `end` is empty or does not occur. An error while reading counts as the file's end.
inline std::string text_up_to(std::string_view end, int descriptor) {
  std::string text;
  char block[65536];
  ssize_t length = 0;
  while ((length = pread(descriptor, block, sizeof block, static_cast<off_t>(text.size()))) > 0) {
    const size_t from = text.size() - std::min(text.size(), end.size());
    text.append(block, static_cast<size_t>(length));
    const size_t found = end.empty() ? std::string::npos : text.find(end, from);
    if (found != std::string::npos) return text.substr(0, found);
  }
  return text;
}
