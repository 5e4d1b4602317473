#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "support/base/owned.h"

/// The temporary file in which a reply is built, and the name by which commands open it.
class ResponseFile {
 public:
  /// Owns `descriptor`, which is below 0 if the file could not be created; `Rewrite` tries again
  /// then. `is_in_memory`: the file is in no directory, and `path` always leads to it.
  ResponseFile(int descriptor, std::string path, bool is_in_memory = false)
      : path_(std::move(path)), descriptor_(descriptor), is_in_memory_(is_in_memory) {}

  const std::string& path() const { return path_; }

  /// Empties the file and opens it for writing; null if that fails.
  OwnedFile Rewrite();

  /// The file's size in bytes, including what commands have appended.
  int64_t Size() const;

  /// Whether commands that open the file by its name get this file.
  bool IsNamed() const;

  /// Removes the file from its directory. Does nothing for a file in memory.
  void Remove() const;

 private:
  std::string path_;
  OwnedDescriptor descriptor_;
  bool is_in_memory_;
};
