#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

inline std::string contents_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A new directory, which is removed with everything in it.
class ScratchDirectory {
 public:
  ScratchDirectory() : path_(testing::TempDir() + "scratch-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) abort();
  }
  ~ScratchDirectory() { std::filesystem::remove_all(path_); }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  /// The path of a file in it.
  std::string Path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};
