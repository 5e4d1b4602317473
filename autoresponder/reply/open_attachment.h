#pragma once

#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>

#include "support/base/owned.h"

/// An attachment that is open for reading: the file that was measured is the one that is encoded,
/// even if its name leads to another one by then.
class OpenAttachment {
 public:
  /// Owns `descriptor`, an open plain file of `size` bytes, last modified at `changed`.
  OpenAttachment(OwnedDescriptor descriptor, int64_t size, timespec changed);

  int descriptor() const { return descriptor_.number(); }
  int64_t size() const { return size_; }

  /// Whether size and modification time are still those of the construction.
  bool IsUnchanged() const;

 private:
  OwnedDescriptor descriptor_;
  int64_t size_;
  timespec changed_;
};

/// Opens a plain file below the directory `root`. `steps`: the names of the directories on the way
/// and of the file, at least one name. Null if the file cannot be opened or is no plain file, if a
/// name is empty, ".", ".." or has a "/", or if one is a symbolic link. Only `root` may lead
/// through links.
std::shared_ptr<const OpenAttachment> open_below(const std::string& root,
                                                 std::initializer_list<std::string> steps);
